#include "Variant.h"

bool Variant::isZero() const {
    return false;
}
std::string Variant::toText() const {
    return {};
}
