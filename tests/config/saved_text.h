// What a saver writes for a tree.

#ifndef MORVEX_TESTS_CONFIG_SAVED_TEXT_H
#define MORVEX_TESTS_CONFIG_SAVED_TEXT_H

#include "config/text_saver.h"
#include "tests/stream/streams.h"

#include <gtest/gtest.h>

inline std::string savedText(HConfig::Object& root) {
    support::Sink sink;
    HConfig::TextSaver saver(&sink, &root);
    EXPECT_EQ(saver.save(), 0);
    return sink.text;
}

#endif
