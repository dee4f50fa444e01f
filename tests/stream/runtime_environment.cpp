// Streams are released by a rule that asks the runtime where the stack is, so it must be up.

#include "common/thread/thread.h"

#include <gtest/gtest.h>

namespace {

class Runtime : public testing::Environment {
public:
    void SetUp() override { Thread::init(); }
    void TearDown() override { Thread::cleanup(); }
};

[[maybe_unused]] testing::Environment* const runtime =
    testing::AddGlobalTestEnvironment(new Runtime);

} // namespace
