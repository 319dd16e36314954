#include "PhoneFinder.h"

#include <phonenumbers/phonenumber.pb.h>
#include <phonenumbers/phonenumbermatch.h>
#include <phonenumbers/phonenumbermatcher.h>
#include <phonenumbers/phonenumberutil.h>

#include <limits>

namespace harvest {

using i18n::phonenumbers::PhoneNumberMatch;
using i18n::phonenumbers::PhoneNumberMatcher;
using i18n::phonenumbers::PhoneNumberUtil;

void PhoneFinder::find(std::string_view text, std::vector<Find>& out) const {
    // The library's own shared instance; it is immutable and safe to share.
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    PhoneNumberMatcher matcher(util, std::string(text), region_, PhoneNumberMatcher::VALID,
                               std::numeric_limits<int>::max());
    PhoneNumberMatch match;
    while (matcher.HasNext() && matcher.Next(&match)) {
        if (match.start() < 0 || match.length() <= 0 ||
            static_cast<std::size_t>(match.start() + match.length()) > text.size()) {
            continue;
        }
        Find f;
        f.start = static_cast<std::size_t>(match.start());
        f.end = f.start + static_cast<std::size_t>(match.length());
        f.what = FindKind::Phone;
        util.Format(match.number(), PhoneNumberUtil::E164, &f.address);
        f.kind = "phone";
        out.push_back(std::move(f));
    }
}

}  // namespace harvest
