#include "RunText.h"

#include <cmath>
#include <cstdio>

namespace {

// Rounds to two decimals, halves to even.
double Round2(double x) {
    return std::nearbyint(x * 100.0) / 100.0;
}

}  // namespace

std::string KiloText(uintmax_t bytes) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.2f", Round2(static_cast<double>(bytes) / 1024.0));
    std::string s = buf;
    while (!s.empty() && s.back() == '0') {
        s.pop_back();
    }
    if (!s.empty() && s.back() == '.') {
        s.pop_back();
    }
    return s;
}

float Percent(size_t i, size_t n) {
    return n == 0 ? 0.0f
                  : static_cast<float>(
                        Round2(static_cast<double>(i) / static_cast<double>(n) * 100.0));
}

bool IsMailFileName(const std::string& name) {
    for (const char* ext : {".eml", ".html", ".htm", ".asp", ".txt"}) {
        if (name.find(ext) != std::string::npos) {
            return true;
        }
    }
    return false;
}
