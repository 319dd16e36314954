#include "Variant.h"

#include <cmath>
#include <cstdio>

const std::string& Variant::text() const {
    static const std::string kNone;
    return isText() ? std::get<std::string>(v_) : kNone;
}

bool Variant::isZero() const {
    if (isEmpty()) {
        return true;
    }
    if (isNumber()) {
        return std::get<double>(v_) == 0;
    }
    return isBool() && !std::get<bool>(v_);
}

std::string Variant::toText() const {
    if (isText()) {
        return std::get<std::string>(v_);
    }
    if (isBool()) {
        return std::get<bool>(v_) ? "True" : "False";
    }
    if (isNumber()) {
        const double d = std::get<double>(v_);
        char buf[32];
        if (std::trunc(d) == d && std::fabs(d) < 1e15) {
            std::snprintf(buf, sizeof buf, "%.0f", d);
        } else {
            std::snprintf(buf, sizeof buf, "%.15g", d);
        }
        return buf;
    }
    return {};
}
