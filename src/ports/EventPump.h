#pragma once

// Lets a long run hand control back to the event loop, so the window stays
// live and Cancel can be pressed. The program pumps Qt's events; tests run
// scripted actions at chosen yields.
class EventPump {
public:
    virtual ~EventPump() = default;
    virtual void yield() = 0;
};
