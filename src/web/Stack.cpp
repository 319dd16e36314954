#include "Stack.h"

#include <new>

#include "EventPump.h"

Stack::Stack()
    : entries_(static_cast<Entry*>(
          std::calloc(static_cast<size_t>(kStacks) * kPositions, sizeof(Entry)))) {
    if (!entries_) {
        throw std::bad_alloc();
    }
}

Variant Stack::load(const Entry& e) const {
    switch (e.kind) {
        case Text:
            return Variant(texts_[e.text]);
        case Number:
            return Variant(e.number);
        case Flag:
            return Variant(e.flag);
        default:
            return Variant();
    }
}

void Stack::store(Entry& e, const Variant& value) {
    e = Entry{value.number(), 0, Empty, value.flag()};
    if (value.isText()) {
        e.kind = Text;
        e.text = static_cast<uint32_t>(texts_.size());
        texts_.push_back(value.text());
    } else if (value.isNumber()) {
        e.kind = Number;
    } else if (value.isBool()) {
        e.kind = Flag;
    }
}

void Stack::checkId(int stack_id) {
    if (stack_id < 0 || stack_id >= kStacks) {
        throw SubscriptError();
    }
}

void Stack::checkIndex(int stack_index) {
    if (stack_index < 0 || stack_index >= kPositions) {
        throw SubscriptError();
    }
}

Stack::Entry& Stack::at(int stack_id, int stack_index) {
    checkId(stack_id);
    checkIndex(stack_index);
    return entries_.get()[static_cast<size_t>(stack_id) * kPositions + stack_index];
}

const Stack::Entry& Stack::at(int stack_id, int stack_index) const {
    checkId(stack_id);
    checkIndex(stack_index);
    return entries_.get()[static_cast<size_t>(stack_id) * kPositions + stack_index];
}

void Stack::LoadDebugWindow() {
    // Stack numbers run to 50, so the walk always ends with the bounds error
    // at 16, before the window is asked to show itself.
    for (int id = 0; id <= 50; ++id) {
        checkId(id);
        const int pointer = pointers_[id];
        if (pointer == 0) {
            continue;
        }
        for (int i = 0; i <= pointer; ++i) {
            const Variant v = load(at(id, i));
            if (debugWindow) {
                debugWindow->push(v);
            }
        }
    }
    if (debugWindow) {
        debugWindow->show();
    }
}

void Stack::WaitForDebugWindow() {
    if (!debugWindow) {
        return;
    }
    debugWindow->setCmdFlag(false);
    while (!debugWindow->cmdFlag()) {
        if (pump) {
            pump->yield();
        }
    }
}

Variant Stack::GetStackPointer(int stack_id) const {
    checkId(stack_id);
    return Variant(pointers_[stack_id]);
}

Variant Stack::Peek(int stack_id, int stack_index) const {
    const Variant v = load(at(stack_id, stack_index));
    if (v.isBlank()) {
        return Variant(false);
    }
    return v;
}

void Stack::CopyStack(int stack_id_from, int stack_id_to) {
    checkId(stack_id_from);
    checkId(stack_id_to);
    const int pointer = pointers_[stack_id_from];
    pointers_[stack_id_to] = pointer;
    for (int i = 0; i <= pointer; ++i) {
        at(stack_id_to, i) = at(stack_id_from, i);
    }
}

void Stack::Reset(int stack_id) {
    checkId(stack_id);
    pointers_[stack_id] = 0;
    store(at(stack_id, 0), Variant(0));
}

void Stack::Push(int stack_id, const Variant& value) {
    checkId(stack_id);
    store(at(stack_id, pointers_[stack_id]), value);
    ++pointers_[stack_id];
}

bool Stack::lne(int stack_id) const {
    checkId(stack_id);
    return pointers_[stack_id] == 0;
}

Variant Stack::ppeek(int stack_id, int offset) const {
    checkId(stack_id);
    const int position = pointers_[stack_id] + offset;
    if (position <= -1) {
        return Variant(false);
    }
    return load(at(stack_id, position));
}

void Stack::poke(int stack_id, int stack_index, const Variant& value) {
    store(at(stack_id, stack_index), value);
}

Variant Stack::pop(int stack_id) {
    checkId(stack_id);
    if (pointers_[stack_id] == 0) {
        return Variant(false);
    }
    --pointers_[stack_id];
    return load(at(stack_id, pointers_[stack_id]));
}
