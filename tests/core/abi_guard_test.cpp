#include "core/abi_guard.h"

#include <gtest/gtest.h>

#include <new>

namespace koru {
namespace {

TEST(AbiGuard, GivesWhatTheBodyGives) {
    EXPECT_EQ(Abi_Guard<int>(0, [] { return 7; }), 7);
}

TEST(AbiGuard, MakesEveryExceptionAFailure) {
    EXPECT_EQ(Abi_Guard<int>(-1, []() -> int { throw std::bad_alloc(); }), -1);
    EXPECT_EQ(Abi_Guard<int>(-1, []() -> int { throw 7; }), -1);
}

}  // namespace
}  // namespace koru
