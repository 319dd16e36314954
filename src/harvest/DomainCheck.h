#pragma once
// Whether a domain name can receive mail or serve a web page: its top-level
// label is a real public suffix and it has a registrable part. Internationalised
// names are checked in punycode and shown in Unicode. What is learnt of a name
// is kept, since the same few domains come up again and again.
#include <string>
#include <string_view>
#include <unordered_map>

struct psl_ctx_st;

namespace harvest {

struct DomainVerdict {
    bool valid = false;
    bool reserved = false;  // a name kept for documentation and tests
    std::string name;       // lower case, Unicode for an internationalised name
};

class DomainCheck {
public:
    DomainCheck();
    ~DomainCheck();
    DomainCheck(const DomainCheck&) = delete;
    DomainCheck& operator=(const DomainCheck&) = delete;

    // The verdict on a domain as written (labels joined by dots, any case,
    // Unicode or punycode). The reference lasts until the next call.
    const DomainVerdict& check(std::string_view domain);

private:
    DomainVerdict judge(std::string_view domain) const;

    psl_ctx_st* latest_ = nullptr;
    const psl_ctx_st* psl_ = nullptr;
    std::unordered_map<std::string, DomainVerdict> cache_;
};

}  // namespace harvest
