// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/transport/TlLibHelper.h"
#include <Base/GCException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace Zelmo;

namespace {

/// A call that throws a LogicalErrorException of this description.
auto FailsWith(const char* description) {
    using Failure = GenICam::LogicalErrorException;
    return testing::Throws<Failure>(testing::Property(&Failure::GetDescription, testing::StrEq(description)));
}

TEST(TlLibHelperTest, MissingExportIsNamedByWhoeverNeedsIt) {
    CTlLibHelper library;
    TlInfoList infos;
    EXPECT_THAT([&] { library.GetTlInfoList(infos, true); },
                FailsWith("Incomplete Transportlayer: missing Info function"));
    EXPECT_THAT([&] { library.CreateTl(CTlInfo()); }, FailsWith("Incomplete Transportlayer: missing Create function"));
    EXPECT_THAT([&] { library.DestroyTl(nullptr); }, FailsWith("Incomplete Transportlayer: missing Destroy function"));
}

TEST(SharedLibraryTest, KeepsWhatItHoldsWhenTheNextOneFails) {
    CSharedLibrary library;
    EXPECT_FALSE(library.IsOpen());
    EXPECT_FALSE(library.Close());
    EXPECT_EQ(library.GetSymbol("cos"), nullptr);
    library.Open("libm.so.6");
    EXPECT_TRUE(library.IsOpen());
    EXPECT_EQ(library.GetLastError(), "");
    library.Open("/nowhere/lib.so");
    EXPECT_NE(library.GetLastError().find("/nowhere/lib.so"), std::string::npos);
    EXPECT_NE(library.GetSymbol("cos"), nullptr);
    EXPECT_EQ(library.GetLastError(), "");
    EXPECT_EQ(library.GetSymbol("no such symbol"), nullptr);
    EXPECT_NE(library.GetLastError(), "");
    EXPECT_TRUE(library.Close());
    EXPECT_FALSE(library.IsOpen());
}

} // namespace
