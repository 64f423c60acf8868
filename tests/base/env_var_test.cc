#include "base/env_var.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(EnvVar, SetValueReplacesDefaultButUnsetOrEmptyKeepsIt) {
  setenv("WEM_TEST_SET", "/tmp/x", 1);
  setenv("WEM_TEST_EMPTY", "", 1);
  unsetenv("WEM_TEST_UNSET");
  EXPECT_EQ(EnvVar("WEM_TEST_SET", "d").value(), "/tmp/x");
  EXPECT_EQ(EnvVar("WEM_TEST_EMPTY", "d").value(), "d");
  EXPECT_EQ(EnvVar("WEM_TEST_UNSET", "d").value(), "d");
  EXPECT_EQ(EnvVar("WEM_TEST_UNSET", "").value(), "");
}

TEST(EnvVar, ValueIsReadOnceAtConstruction) {
  setenv("WEM_TEST_ONCE", "first", 1);
  const EnvVar once("WEM_TEST_ONCE", "d");
  setenv("WEM_TEST_ONCE", "second", 1);
  EXPECT_EQ(once.value(), "first");
}
