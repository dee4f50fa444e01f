// Addr2822Flexer: one parse from text to delivered entries. AddressList::parse2822 stands here, so
// that only a program which calls it links the parser.

#include "address/rfc2822/flexer.h"

#include "address/address_list.h"
#include "common/container/hvector.h"

Addr2822Flexer::Addr2822Flexer(AddressList* list) : commentDepth(0), builder(list) {
}

Addr2822Flexer::~Addr2822Flexer() = default;

int Addr2822Flexer::parse(const char* list) {
    if (!text.assign(list)) {
        return -1;
    }
    start(text.length());
    const int result = addr2822parse(this);
    clean();
    return result == 0 ? 0 : -1;
}

int Addr2822Flexer::LexerInput(char* buffer, int maxSize) {
    return text.read(buffer, maxSize);
}

void Addr2822Flexer::clean() {
    text.clear();
    builder.clean();
    reset();
}

int Addr2822Flexer::nextToken(std::string*& value) {
    const int token = scan(commentDepth);
    value = builder.getPool().addString(tokenText());
    return token;
}

int AddressList::parse2822(const char* text, bool clear) {
    if (rfc2822Flexer == nullptr) {
        rfc2822Flexer = new Addr2822Flexer(this);
    }
    if (clear) {
        addresses->clear();
    }
    return text != nullptr ? rfc2822Flexer->parse(text) : -1;
}
