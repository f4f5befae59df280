// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/ExpandEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>

using namespace Zelmo;

namespace {

struct Expansion {
    const char* text;
    const char* expected;
    int count;
    friend std::ostream& operator<<(std::ostream& stream, const Expansion& e) { return stream << e.text; }
};

class ExpandTest : public testing::TestWithParam<std::tuple<EExpandDialect, Expansion>> {
protected:
    void SetUp() override {
        setenv("ZELMO_TEST_A", "value$(ZELMO_TEST_A)", 1);
        unsetenv("ZELMO_TEST_UNSET");
    }
};

TEST_P(ExpandTest, ReplacesReferencesOnce) {
    const auto& [dialect, expansion] = GetParam();
    std::string text = expansion.text;
    EXPECT_EQ(ExpandEnvironment(text, dialect), expansion.count);
    EXPECT_EQ(text, expansion.expected);
}

INSTANTIATE_TEST_SUITE_P(
    InBothDialects, ExpandTest,
    testing::Combine(testing::Values(ExpandDialect_LibraryPath, ExpandDialect_FileName),
                     testing::Values(Expansion{"", "", 0}, Expansion{"/lib/plain.so", "/lib/plain.so", 0},
                                     Expansion{"/$(ZELMO_TEST_A)/x", "/value$(ZELMO_TEST_A)/x", 1},
                                     Expansion{"%ZELMO_TEST_A%", "value$(ZELMO_TEST_A)", 1},
                                     Expansion{"a$(ZELMO_TEST_UNSET)b%ZELMO_TEST_UNSET%c", "abc", 2},
                                     Expansion{"a$$b", "a$b", 0}, Expansion{"$$(ZELMO_TEST_A)", "$(ZELMO_TEST_A)", 0},
                                     Expansion{"$()x", "$()x", 0}, Expansion{"$(ZELMO", "$(ZELMO", 0},
                                     Expansion{"ab$", "ab$", 0}, Expansion{"$$", "$$", 0}, Expansion{"$", "$", 0})));

INSTANTIATE_TEST_SUITE_P(PercentSignsInLibraryPaths, ExpandTest,
                         testing::Combine(testing::Values(ExpandDialect_LibraryPath),
                                          testing::Values(Expansion{"100%", "100%%", 0}, Expansion{"a%%b", "a%%b", 0},
                                                          Expansion{"%", "%%", 1}, Expansion{"%x", "%%x", 1},
                                                          Expansion{"x%", "x%%", 1}, Expansion{"%%", "%%", 0},
                                                          Expansion{"%%%", "%%%%", 0})));

INSTANTIATE_TEST_SUITE_P(PercentSignsInFileNames, ExpandTest,
                         testing::Combine(testing::Values(ExpandDialect_FileName),
                                          testing::Values(Expansion{"100%", "100%", 0}, Expansion{"a%%b", "a%b", 0},
                                                          Expansion{"%", "%", 0}, Expansion{"x%", "x%", 0},
                                                          Expansion{"%%", "%%", 0})));

} // namespace
