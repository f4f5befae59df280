// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/BuiltinDocuments.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

using Zelmo::FindBuiltinDocument;

namespace {

class BuiltinDocument : public testing::TestWithParam<const char*> {};

TEST_P(BuiltinDocument, IsTheFileByteForByteAndZeroTerminated) {
    std::ifstream file(RESOURCES_DIR "/" + std::string(GetParam()) + ".xml", std::ios::binary);
    const std::string expected{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    ASSERT_FALSE(expected.empty());

    std::string_view text;
    ASSERT_TRUE(FindBuiltinDocument(GetParam(), text));
    EXPECT_EQ(text, expected);
    EXPECT_EQ(text.data()[text.size()], '\0');
}

INSTANTIATE_TEST_SUITE_P(All, BuiltinDocument,
                         testing::Values("DefaultTransportLayerParams", "InstantCameraParams",
                                         "ConfigFileRegistryStandardRules"));

TEST(BuiltinDocuments, UnknownNamesFindNothingAndLeaveTheTextAlone) {
    for (const char* name : {"", "defaulttransportlayerparams", "DefaultTransportLayerParams.xml", "Default"}) {
        std::string_view text = "untouched";
        EXPECT_FALSE(FindBuiltinDocument(name, text)) << name;
        EXPECT_EQ(text, "untouched") << name;
    }
}

} // namespace
