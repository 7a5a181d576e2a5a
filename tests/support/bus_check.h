// Whether libusb was used properly and given back completely.
#ifndef TESTS_SUPPORT_BUS_CHECK_H
#define TESTS_SUPPORT_BUS_CHECK_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test_support {

/// EXPECT_TRUE(BusIsClean()): nothing is open and nothing was misused. Reports
/// of misuse that contain one of `expected` are left out.
testing::AssertionResult BusIsClean(const std::vector<std::string>& expected = {});

/// The report that the audio side's destructor causes: it gives back an
/// interface that it does not hold.
extern const char* const kAudioReleasesForeignInterface;

}  // namespace test_support

#endif
