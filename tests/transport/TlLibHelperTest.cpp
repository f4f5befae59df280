#include "ZelmoBase/transport/TlLibHelper.h"

#include <gtest/gtest.h>

#include <string>

#include <Base/GCException.h>

using namespace Zelmo;

namespace {

template <class Step>
std::string FailureOf(Step&& step) {
    try {
        step();
    } catch (const GenICam::LogicalErrorException& e) {
        return e.GetDescription();
    }
    return "no exception";
}

TEST(TlLibHelperTest, MissingExportIsNamedByWhoeverNeedsIt) {
    CTlLibHelper library;
    TlInfoList infos;
    EXPECT_EQ(FailureOf([&] { library.GetTlInfoList(infos, true); }),
              "Incomplete Transportlayer: missing Info function");
    EXPECT_EQ(FailureOf([&] { library.CreateTl(CTlInfo()); }), "Incomplete Transportlayer: missing Create function");
    EXPECT_EQ(FailureOf([&] { library.DestroyTl(nullptr); }), "Incomplete Transportlayer: missing Destroy function");
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
