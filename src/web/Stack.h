#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "RunErrors.h"
#include "Variant.h"

class EventPump;

// A stack number or position outside the table.
class SubscriptError : public RunError {
public:
    SubscriptError() : RunError(9, "Subscript out of range") {}
};

// The external debug window that the stack's two debugging aids talk to. The
// program never connects one.
class StackDebugWindow {
public:
    virtual ~StackDebugWindow() = default;
    virtual void push(const Variant& value) = 0;  // its "Win32Stack" element's Push
    virtual void show() = 0;
    virtual bool cmdFlag() const = 0;
    virtual void setCmdFlag(bool flag) = 0;
};

// Sixteen numbered stacks of general values in one fixed table of 16 by
// 90,001 entries, reserved when the object is made. A stack's pointer counts
// its entries: positions 0 to pointer - 1 hold them, Push writes at the
// pointer and then increases it, pop decreases it and then reads. A stack
// number outside 0..15 or a position outside 0..90,000 raises SubscriptError
// and changes nothing further.
class Stack {
public:
    static constexpr int kStacks = 16;
    static constexpr int kPositions = 90001;

    Stack();

    // Debugging aids; without a debug window they hand nothing over.
    StackDebugWindow* debugWindow = nullptr;
    EventPump* pump = nullptr;  // for WaitForDebugWindow
    void LoadDebugWindow();
    void WaitForDebugWindow();

    Variant GetStackPointer(int stack_id) const;
    // The entry, or false when it equals "".
    Variant Peek(int stack_id, int stack_index) const;
    // Copies the pointer and the entries 0..pointer (one past the top too).
    void CopyStack(int stack_id_from, int stack_id_to);
    // Pointer 0 and the number 0 at position 0; the other entries stay.
    void Reset(int stack_id);
    void Push(int stack_id, const Variant& value);
    // True when the stack is empty.
    bool lne(int stack_id) const;
    // The entry at pointer + offset, or false when that is below 0.
    Variant ppeek(int stack_id, int offset) const;
    void poke(int stack_id, int stack_index, const Variant& value);
    // False when the stack is empty; else the top entry, which stays in place.
    Variant pop(int stack_id);

private:
    // One entry of the table: a kind, and the number, flag or index of the
    // text in `texts_`. All zero bytes are an empty entry.
    struct Entry {
        double number;
        uint32_t text;
        uint8_t kind;
        bool flag;
    };
    enum Kind : uint8_t { Empty = 0, Text, Number, Flag };
    struct Free {
        void operator()(Entry* p) const { std::free(p); }
    };

    static void checkId(int stack_id);
    static void checkIndex(int stack_index);
    Entry& at(int stack_id, int stack_index);
    const Entry& at(int stack_id, int stack_index) const;
    Variant load(const Entry& e) const;
    void store(Entry& e, const Variant& value);

    std::unique_ptr<Entry, Free> entries_;  // kStacks * kPositions, zeroed once
    std::vector<std::string> texts_;        // the texts written, by index
    std::array<int32_t, kStacks> pointers_{};
};
