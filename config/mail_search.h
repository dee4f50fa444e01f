// MailSearch: the face of the server's search language that the configuration needs, which is to
// tell whether a text is a search condition.
//
// The language itself belongs to the server, which puts its parser in here at start-up. Without
// one, conditions are tested for their form only: words, quoted strings and parentheses.

#ifndef MORVEX_CONFIG_MAIL_SEARCH_H
#define MORVEX_CONFIG_MAIL_SEARCH_H

class Stream;

// What a parser makes of a condition. The configuration only destroys it.
class SearchList {
public:
    virtual ~SearchList() = default;
};

namespace MailSearch {

using Parser = SearchList* (*)(Stream* stream);

// The server's parser; null for none. Set before other threads run.
extern Parser parser;

// Parses a condition of at most 64 KiB. The list is the caller's; null for a bad condition or a
// stream that cannot be read. The stream stays the caller's.
SearchList* parseSearchStream(Stream* stream);

} // namespace MailSearch

#endif
