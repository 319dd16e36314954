#include "Crawler.h"

void Crawler::Lc2kEngine(const std::string&, int16_t, bool, bool) {
    (void)ports_;
}
bool Crawler::HasUrlBeenSearchedBefore(const std::string&) const {
    return false;
}
bool Crawler::SetUrlSearched(const std::string&) {
    return false;
}
bool Crawler::IsFilter(const std::string&) const {
    return false;
}
void Crawler::CollectLinks(const std::string&) {}
void Crawler::WaitProcessorTime() {}
void Crawler::visit(Stack&, const std::string&, bool) {}
