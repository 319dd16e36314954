#include "Stack.h"

Stack::Stack() : entries_(static_cast<size_t>(kStacks) * kPositions) {}
void Stack::LoadDebugWindow() {}
void Stack::WaitForDebugWindow() {}
Variant Stack::GetStackPointer(int) const {
    return {};
}
Variant Stack::Peek(int, int) const {
    return {};
}
void Stack::CopyStack(int, int) {}
void Stack::Reset(int) {}
void Stack::Push(int, const Variant&) {}
bool Stack::lne(int) const {
    return true;
}
Variant Stack::ppeek(int, int) const {
    return {};
}
void Stack::poke(int, int, const Variant&) {}
Variant Stack::pop(int) {
    return {};
}
