// Names and paths of folders against plain readers. Input: the path.

#include "address/mbox_name.h"
#include "fuzz/target.h"

#include <vector>

namespace {

bool isAllowed(char c) {
    return c >= 0x20 && c <= 0x7E && std::strchr("\"%*~", c) == nullptr;
}

// The byte that opens an encoded run, right behind its "&", is taken as it is.
bool plainName(std::string_view name) {
    if (name.empty() || name.size() > MboxNameMaxLength ||
        name.find_first_not_of(" \t") == std::string_view::npos) {
        return false;
    }
    while (!name.empty()) {
        const std::size_t amp = std::min(name.find('&'), name.size());
        if (!std::all_of(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(amp),
                         isAllowed)) {
            return false;
        }
        if (amp == name.size()) {
            return true;
        }
        name.remove_prefix(amp + 1);
        if (name.starts_with('-')) {
            name.remove_prefix(1);
            continue;
        }
        const std::size_t end = name.find('-', 1);
        if (end == std::string_view::npos) {
            return false;
        }
        std::string run(name.substr(0, end));
        name.remove_prefix(end + 1);
        if (!std::all_of(run.begin() + 1, run.end(),
                         [](char c) { return isAllowed(c) && c != '='; })) {
            return false;
        }
        std::replace(run.begin() + 1, run.end(), ',', '/');
        if (!checkBase64(run.data(), static_cast<unsigned>(run.size())) || name.starts_with('&')) {
            return false;
        }
        if (name.empty()) {
            return true;
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
