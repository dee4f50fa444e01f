// Domain names, user names and whole addresses against plain readers. Input: the text of a name.

#include "address/domainname.h"
#include "address/username.h"
#include "address/utils.h"
#include "fuzz/target.h"

#include <vector>

namespace {

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// The text up to a LF that ends it; a LF counts only where a name could end.
std::string_view upToLF(std::string_view text) {
    return text.substr(0, text.find('\n'));
}

bool plainDomainname(std::string_view text) {
    if (text.size() > Domainname::MaxLength) {
        return false;
    }
    text = upToLF(text);
    for (;;) {
        const std::size_t dot = text.find('.');
        const std::string_view label = text.substr(0, dot);
        if (label.empty() || label.size() > Domainname::MaxLabelLength || label.front() == '-' ||
            label.back() == '-' || !std::all_of(label.begin(), label.end(), [](char c) {
                return isLetterOrDigit(c) || c == '-';
            })) {
            return false;
        }
        if (dot == std::string_view::npos) {
            return true;
        }
        text.remove_prefix(dot + 1);
    }
}

bool plainUsername(std::string_view text, std::size_t most) {
    if (text.size() > most) {
        return false;
    }
    bool inAtom = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n') {
            break;
        }
        if (c == '\\') {
            if (++i == text.size() || text[i] == '\n') {
                return false;
            }
            inAtom = true;
        } else if (c == '.') {
            if (!inAtom) {
                return false;
            }
            inAtom = false;
        } else if (isLetterOrDigit(c) || std::strchr("!#$%&'*-/=?^_`{|}~", c) != nullptr) {
            inAtom = true;
        } else {
            return false;
        }
    }
    return inAtom;
}

void checkParts(const char* text) {
    Domainname name(text);
    const bool valid = plainDomainname(text);
    FUZZ_CHECK((name.getName() != nullptr) == valid);
    FUZZ_CHECK((name.getPartCount() > 0) == valid);
    if (!valid) {
        return;
    }
    FUZZ_CHECK(std::strcmp(name.getName(), text) == 0);
    std::vector<std::string> labels;
    std::vector<const char*> parts;
    for (int i = 0; i < name.getPartCount(); ++i) {
        labels.emplace_back(name.getPart(i));
        Domainname tail(&name, i);
        FUZZ_CHECK(std::strcmp(tail.getName(), name.getSubdomainname(i)) == 0);
        FUZZ_CHECK(Domainname::isSubdomain(tail.getName(), text, true));
    }
    for (const std::string& label : labels) {
        parts.push_back(label.c_str());
    }
    FUZZ_CHECK(name.getPart(name.getPartCount()) == nullptr);
    const Domainname joined(parts.data(), name.getPartCount());
    FUZZ_CHECK(joined.getName() != nullptr && upToLF(text) == upToLF(joined.getName()));
}

} // namespace

FUZZ_TARGET(names) {
    const fuzz::Text text(input.rest());
    FUZZ_CHECK(Domainname::isDomainname(text.get()) == plainDomainname(text.view()));
    checkParts(text.get());

    for (const unsigned most : {8U, Username::MaxLength}) {
        FUZZ_CHECK(Username::isUsername(text.get(), most) == plainUsername(text.view(), most));
    }
    const Username user(text.get());
    FUZZ_CHECK((user.getName() != nullptr) == plainUsername(text.view(), Username::MaxLength));

    const std::string before(text.view());
    const std::size_t at = before.rfind('@');
    bool valid = at != std::string::npos && at > 0 && before[at - 1] != '\\';
    valid = valid && plainUsername(before.substr(0, at), Username::MaxLength) &&
            plainDomainname(before.substr(at + 1));
    FUZZ_CHECK(Utils::isValidMailAddress(text.get()) == valid);
    FUZZ_CHECK(before == text.view());

    char* userPart = nullptr;
    char* domainPart = nullptr;
    if (Utils::splitMailAddress(text.get(), userPart, domainPart) && domainPart != nullptr) {
        FUZZ_CHECK(std::string(userPart) + "@" + domainPart == before);
    }
}
