#pragma once

// A progress bar that logic code moves (range 0 to 100).
class ProgressBar {
public:
    virtual ~ProgressBar() = default;
    virtual float value() const = 0;
    virtual void setValue(float value) = 0;
};

// A progress bar held in memory, for code that runs without a window.
class PlainProgress : public ProgressBar {
public:
    float value() const override { return value_; }
    void setValue(float value) override { value_ = value; }

private:
    float value_ = 0;
};
