// SPDX-License-Identifier: Apache-2.0
#include <Base/GCException.h>
#include <Base/GCUtilities.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cxxabi.h>
#include <optional>
#include <type_traits>
#include <typeinfo>

using namespace GenICam;

namespace {

TEST(GCExceptionTest, WhatNamesDescriptionTypeAndPlace) {
    const RuntimeException plain("Cannot open x", "ZelmoBase/Info.cpp", 12, "RuntimeException");
    EXPECT_STREQ(plain.what(), "Cannot open x : RuntimeException thrown (file 'ZelmoBase/Info.cpp', line 12)");
    EXPECT_STREQ(plain.GetDescription(), "Cannot open x");
    EXPECT_STREQ(plain.GetSourceFileName(), "ZelmoBase/Info.cpp");
    EXPECT_EQ(plain.GetSourceLine(), 12u);

    const AccessException node("Node is not writable.", "f.cpp", 120, "Width.SetValue", "WidthReg", "AccessException");
    EXPECT_STREQ(node.what(), "Node is not writable. : AccessException thrown in node 'WidthReg' while calling "
                              "'Width.SetValue()' (file 'f.cpp', line 120)");
}

TEST(GCExceptionTest, MissingTextsAreEmptyAndAMissingTypeIsException) {
    EXPECT_STREQ(GenericException("d", "f", 1).what(), "d : Exception thrown (file 'f', line 1)");
    EXPECT_STREQ(TimeoutException(nullptr, nullptr, 0, "").what(), " : Exception thrown (file '', line 0)");
    EXPECT_STREQ(GenericException("d", "f", 1, nullptr, nullptr, nullptr).what(),
                 "d : Exception thrown in node '' while calling '()' (file 'f', line 1)");
}

TEST(GCExceptionTest, FormattedDescriptionKeeps255BytesAndTheOtherFormsKeepAll) {
    const std::string text(300, 'x');
    std::stringstream stream;
    stream << text;
    EXPECT_EQ(RUNTIME_EXCEPTION("%s", text.c_str()).GetDescription(), text.substr(0, 255));
    EXPECT_EQ(RUNTIME_EXCEPTION(text).GetDescription(), text);
    EXPECT_EQ(RUNTIME_EXCEPTION(stream).GetDescription(), text);
    EXPECT_STREQ(RUNTIME_EXCEPTION().GetDescription(), "");
    EXPECT_STREQ(RUNTIME_EXCEPTION(gcstring("100%s%n")).GetDescription(), "100%s%n") << "it is no format";
}

/// The class of @p raised, without its namespace.
std::string ClassOf(const GenericException& raised) {
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(raised).name(), nullptr, nullptr, nullptr), &std::free);
    return std::string(name.get()).substr(std::string("GenICam::").size());
}

template <class... Exceptions>
void ExpectEachNamesItsClassAndPlace(const Exceptions&... raised) {
    for (const GenericException* exception : {static_cast<const GenericException*>(&raised)...}) {
        const std::string expected = "n = 7 : " + ClassOf(*exception) + " thrown (file 'tests/genicam/base/";
        EXPECT_EQ(std::string(exception->what()).rfind(expected, 0), 0u) << exception->what();
    }
}

TEST(GCExceptionTest, MacrosGiveTheirClassAndTheFileRelativeToTheRoot) {
    ExpectEachNamesItsClassAndPlace(
        BAD_ALLOC_EXCEPTION("n = %d", 7), INVALID_ARGUMENT_EXCEPTION("n = %d", 7), OUT_OF_RANGE_EXCEPTION("n = %d", 7),
        PROPERTY_EXCEPTION("n = %d", 7), RUNTIME_EXCEPTION("n = %d", 7), LOGICAL_ERROR_EXCEPTION("n = %d", 7),
        ACCESS_EXCEPTION("n = %d", 7), TIMEOUT_EXCEPTION("n = %d", 7), DYNAMICCAST_EXCEPTION("n = %d", 7));
    static_assert(!std::is_base_of_v<RuntimeException, AccessException>, "there is no deeper level");
}

TEST(GCExceptionTest, CopyOutlivesTheOriginalAndCopyingDoesNotThrow) {
    static_assert(std::is_nothrow_copy_constructible_v<AccessException>);
    std::optional<GenericException> original(RUNTIME_EXCEPTION("text"));
    const GenericException moved = std::move(*original);
    EXPECT_STREQ(original->GetDescription(), "text") << "an exception that was moved from still answers";
    original.reset();
    EXPECT_STREQ(moved.GetDescription(), "text");
}

} // namespace
