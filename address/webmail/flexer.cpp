// AddrWebmailFlexer: one parse from text to delivered mailboxes. AddressList::parseWebmail stands
// here, so that only a program which calls it links the parser.

#include "address/webmail/flexer.h"

#include "address/address_list.h"
#include "common/container/hvector.h"

namespace {

constexpr std::size_t WordBufferSize = 64;

} // namespace

AddrWebmailFlexer::AddrWebmailFlexer(AddressList* list) : pool(new StringPool), owner(list) {
    wordBuffer.reserve(WordBufferSize);
}

AddrWebmailFlexer::~AddrWebmailFlexer() {
    delete pool;
}

int AddrWebmailFlexer::parse(const char* list) {
    if (!text.assign(list)) {
        return -1;
    }
    start(text.length());
    const int result = addrWebmailparse(this);
    clean();
    return result == 0 ? 0 : -1;
}

int AddrWebmailFlexer::LexerInput(char* buffer, int maxSize) {
    return text.read(buffer, maxSize);
}

void AddrWebmailFlexer::clean() {
    text.clear();
    pool->reset();
    reset();
}

int AddrWebmailFlexer::nextToken(std::string*& value) {
    const int token = scan(wordBuffer);
    if (token == WebmailQuotedWord) {
        value = pool->addString(wordBuffer);
        return WebmailWord;
    }
    value = pool->addString(tokenText());
    return token;
}

void AddrWebmailFlexer::deliver(const std::string* fullName, const std::string& addrSpec) {
    Mailbox2* mailbox =
        new Mailbox2(fullName != nullptr ? fullName->c_str() : nullptr, addrSpec.c_str());
    owner->addresses->append(new Single(mailbox));
}

int AddressList::parseWebmail(const char* text) {
    if (webmailFlexer == nullptr) {
        webmailFlexer = new AddrWebmailFlexer(this);
    }
    addresses->clear();
    return text != nullptr ? webmailFlexer->parse(text) : -1;
}
