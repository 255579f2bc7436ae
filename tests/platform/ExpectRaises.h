// Expects a call to raise one exception class with exactly one message;
// shared by every unit's tests.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/SysUtils.h"

namespace pel::test {

template <class E>
void ExpectRaises(const std::function<void()>& Fn, const std::string& Msg) {
  try {
    Fn();
    ADD_FAILURE() << "expected " << E::StaticClass()->Name << ": " << Msg;
  } catch (const E& e) {
    EXPECT_EQ(e.Message(), Msg);
  }
}

}  // namespace pel::test
