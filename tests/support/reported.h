#pragma once

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "../fake_database.h"

/// What `routine` reports with this connection, on standard error.
template <class Call>
std::string reported_by(const Call& routine) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  errno = 0;
  routine(FakeDatabase::Open());
  testing::internal::GetCapturedStdout();
  return testing::internal::GetCapturedStderr();
}
