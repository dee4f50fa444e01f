// Brackets all tests of the binary with the start and the end of the runtime, which releases of
// streams and locks of shared objects need.

#include "common/thread/thread.h"

#include <gtest/gtest.h>

namespace {

class RuntimeEnvironment final : public testing::Environment {
public:
    void SetUp() override { Thread::init(); }
    void TearDown() override { Thread::cleanup(); }
};

[[maybe_unused]] const testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new RuntimeEnvironment);

} // namespace
