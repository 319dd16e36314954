#pragma once

// The shape of the mouse pointer over a window.
class MousePointer {
public:
    enum Shape { Default = 0, Hourglass = 11 };
    virtual ~MousePointer() = default;
    virtual void setShape(Shape shape) = 0;
};

// A pointer nobody sees, for code that runs without a window.
class NoPointer : public MousePointer {
public:
    void setShape(Shape) override {}
};
