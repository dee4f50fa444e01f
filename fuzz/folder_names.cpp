// Names and paths of folders against plain readers. Input: the path.

#include "address/mbox_name.h"
#include "fuzz/target.h"

#include <vector>

namespace {

bool plainName(std::string_view name) {
    if (name.empty() || name.size() > MboxNameMaxLength ||
        name.find_first_not_of(" \t") == std::string_view::npos) {
        return false;
    }
    for (const char c : name) {
        if (c < 0x20 || c > 0x7E || std::strchr("\"%*~", c) != nullptr) {
            return false;
        }
    }
    for (std::size_t at = name.find('&'); at != std::string_view::npos;) {
        const std::size_t end = name.find('-', at + 1);
        if (end == std::string_view::npos) {
            return false;
        }
        std::string run(name.substr(at + 1, end - at - 1));
        std::replace(run.begin(), run.end(), ',', '/');
        const bool isEscape = run.empty();
        if (run.find('=') != std::string::npos ||
            (!isEscape && !checkBase64(run.data(), static_cast<unsigned>(run.size())))) {
            return false;
        }
        at = name.find('&', end + 1);
        if (!isEscape && at == end + 1) {
            return false;
        }
    }
    return true;
}

bool plainPath(std::string_view path) {
    if (path == "/") {
        return true;
    }
    if (path.ends_with('/')) {
        path.remove_suffix(1);
    }
    if (path.starts_with('/')) {
        path.remove_prefix(1);
    }
    for (;;) {
        const std::size_t slash = path.find('/');
        if (!plainName(path.substr(0, slash))) {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        path.remove_prefix(slash + 1);
    }
}

int plainDepth(std::string_view path) {
    int depth = 0;
    for (std::size_t slash; (slash = path.find('/')) != std::string_view::npos;) {
        depth += slash > 0;
        path.remove_prefix(slash + 1);
    }
    return depth;
}

} // namespace

FUZZ_TARGET(folder_names) {
    const std::string_view bytes = input.rest();
    // A block of exactly the name's size, as checkMboxName wants no terminator.
    const std::vector<char> name(bytes.begin(), bytes.end());
    FUZZ_CHECK(checkMboxName(name.data(), static_cast<unsigned>(name.size())) == plainName(bytes));
    FUZZ_CHECK(std::equal(name.begin(), name.end(), bytes.begin()));

    const std::string path(bytes);
    FUZZ_CHECK(checkPathName(path) == (!path.empty() && plainPath(path)));
    checkBase64(name.data(), static_cast<unsigned>(name.size()));

    const fuzz::Text text(bytes);
    FUZZ_CHECK(getPathDepth(text.get()) == plainDepth(text.view()));
    const std::unique_ptr<char[]> user(new char[256]);
    const std::unique_ptr<char[]> mailbox(new char[MboxPathMaxLength + 1]);
    if (splitMboxPath(text.get(), user.get(), mailbox.get())) {
        std::string joined = mailbox.get();
        if (text.view().starts_with('~')) {
            const bool slash = text.view().find('/') != std::string_view::npos;
            joined = "~" + std::string(user.get()) + (slash ? "/" : "") + joined;
        }
        FUZZ_CHECK(joined == text.view());
    }
}
