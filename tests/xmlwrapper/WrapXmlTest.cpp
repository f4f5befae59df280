// SPDX-License-Identifier: Apache-2.0
#include "XMLWrapperLib/WrapXml.h"

#include "fakes/Failure.h"
#include "fakes/TempFolder.h"

#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

using Fakes::FailureOf;
using testing::ElementsAre;
using Zelmo::CXmlNode;

namespace {

CXmlNode Parsed(const std::string& text) {
    CXmlNode node;
    node.LoadFromString(text.c_str());
    return node;
}

std::string NameOf(const CXmlNode& node) {
    return node.GetName().c_str();
}

std::string ValueOf(const CXmlNode& node) {
    return node.GetValue().c_str();
}

// The value of attribute id of each node found.
std::vector<std::string> Found(const CXmlNode& start, const char* name) {
    std::vector<CXmlNode> nodes;
    const std::size_t count = start.GetNodesByName(name, nodes);
    EXPECT_EQ(count, nodes.size());
    std::vector<std::string> ids;
    for (const CXmlNode& node : nodes) {
        ids.push_back(ValueOf(node.GetAttribute("id")));
    }
    return ids;
}

class WrapXmlFile : public testing::Test {
protected:
    std::string Write(const std::string& content) const {
        const std::string path = m_folder.Path() / "file.xml";
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    Fakes::TempFolder m_folder;
};

TEST(WrapXml, NullObjectAnswersEmptyAndStaysNull) {
    CXmlNode null;
    EXPECT_TRUE(null.IsNull());
    EXPECT_FALSE(null.IsValid() || null.IsElement() || null.IsAttribute());
    EXPECT_FALSE(null.MoveToFirstChild() || null.MoveToNextSibling());
    EXPECT_EQ(NameOf(null) + ValueOf(null), "");
    for (const CXmlNode& node : {null.GetRoot(), null.GetFirstChild(), null.GetNextSibling(), null.GetParent(),
                                 null.GetFirstAttribute(), null.GetNextAttribute(), null.GetAttribute("a")}) {
        EXPECT_TRUE(node.IsNull());
    }
    std::vector<CXmlNode> nodes;
    EXPECT_EQ(null.GetNodesByName("", nodes), 0u);
}

TEST(WrapXml, CommentsAndDeclarationsAreNeverSeen) {
    CXmlNode node =
        Parsed("<?xml version='1.0'?><!--a--><root><!--b--><x/><!--c--><!--d--><y/><!--e--></root><!--f-->");
    EXPECT_EQ(NameOf(node), "root");
    EXPECT_TRUE(node.GetNextSibling().IsNull());
    EXPECT_TRUE(node.MoveToFirstChild());
    EXPECT_EQ(NameOf(node), "x");
    EXPECT_TRUE(node.MoveToNextSibling());
    EXPECT_EQ(NameOf(node), "y");
    EXPECT_FALSE(node.MoveToNextSibling());
    EXPECT_TRUE(node.IsNull());
    EXPECT_EQ(NameOf(node.GetRoot()), "root"); // the document is still there
}

TEST(WrapXml, ValueIsTheLeadingTextOnly) {
    const CXmlNode root = Parsed("<r><text> a &lt; b&#x21; </text><child><in>1</in>late</child><none/>tail</r>");
    CXmlNode node = root.GetFirstChild();
    EXPECT_EQ(ValueOf(node), " a < b! ");
    const CXmlNode textChild = node.GetFirstChild();
    EXPECT_TRUE(textChild.IsElement());
    EXPECT_EQ(NameOf(textChild) + ValueOf(textChild), "");
    EXPECT_TRUE(textChild.GetFirstAttribute().IsElement());
    EXPECT_TRUE(node.MoveToNextSibling());
    EXPECT_EQ(ValueOf(node), "");
    EXPECT_TRUE(node.MoveToNextSibling());
    EXPECT_EQ(ValueOf(node), "");
    EXPECT_TRUE(node.MoveToNextSibling()); // the text behind the last element
    EXPECT_EQ(NameOf(node), "");
    EXPECT_EQ(NameOf(node.GetParent()), "r");
}

TEST(WrapXml, AttributesAreWalkedInOrderAndFoundByExactName) {
    const CXmlNode root = Parsed("<r b='1' A='2' a='3'/>");
    CXmlNode attribute = root.GetFirstAttribute();
    std::string walked;
    for (; attribute.IsAttribute(); attribute = attribute.GetNextAttribute()) {
        EXPECT_FALSE(attribute.IsElement());
        EXPECT_TRUE(attribute.GetParent().IsNull());
        walked += NameOf(attribute) + ValueOf(attribute) + " ";
    }
    EXPECT_EQ(walked, "b1 A2 a3 ");
    EXPECT_TRUE(attribute.IsElement()); // behind the last one
    EXPECT_EQ(NameOf(attribute), "r");
    EXPECT_EQ(ValueOf(root.GetAttribute("a")), "3");
    EXPECT_TRUE(root.GetAttribute("B").IsNull());
    EXPECT_TRUE(root.GetAttribute("a").GetAttribute("a").IsNull());
    EXPECT_TRUE(root.GetNextAttribute().IsNull());
    EXPECT_TRUE(Parsed("<r/>").GetFirstAttribute().IsElement());
    EXPECT_TRUE(Parsed("<r/>").GetAttribute("").IsNull());
}

TEST(WrapXml, NodesByNameComeInDocumentOrderFromTheStartOnward) {
    const CXmlNode root = Parsed("<r><n id='1'><n id='2'/><x><!--c--><n id='3'/></x></n><x/>"
                                 "<x id='no'><n id='4'>t</n></x><n id='5'/></r>");
    EXPECT_THAT(Found(root, "n"), ElementsAre("1", "2", "3", "4", "5"));
    EXPECT_THAT(Found(root, "N"), ElementsAre());
    const CXmlNode first = root.GetFirstChild();
    EXPECT_THAT(Found(first, "n"), ElementsAre("1", "2", "3", "4", "5"));
    EXPECT_THAT(Found(first.GetFirstChild(), "n"), ElementsAre("2", "3")); // never above the start
    EXPECT_THAT(Found(first.GetNextSibling(), "n"), ElementsAre("4", "5"));

    std::vector<CXmlNode> nodes(2);
    EXPECT_EQ(root.GetNodesByName("n", nodes), 7u) << "found nodes are added to those in the list";
}

TEST(WrapXml, AMillionSiblingsAreFoundOnASmallStack) {
    const std::size_t count = 1'000'000;
    std::string text = "<r>";
    for (std::size_t i = 0; i < count; ++i) {
        text += "<n/>";
    }
    const CXmlNode root = Parsed(text + "</r>");
    std::vector<CXmlNode> nodes;
    EXPECT_EQ(root.GetNodesByName("n", nodes), count);
}

TEST(WrapXml, CopiesKeepTheDocumentAlive) {
    CXmlNode node = Parsed("<first><a>1</a></first>");
    const CXmlNode copy = node.GetFirstChild();
    node.LoadFromString("<second/>");
    EXPECT_EQ(NameOf(node), "second");
    EXPECT_EQ(ValueOf(copy), "1");
    EXPECT_EQ(NameOf(copy.GetRoot()), "first");
    std::thread([last = CXmlNode(copy)] {}).join();
}

struct BrokenText {
    const char* what;
    std::string text;
    int error;
};

class WrapXmlBroken : public testing::TestWithParam<BrokenText> {};

TEST_P(WrapXmlBroken, IsReportedWithTheParsersCode) {
    EXPECT_EQ(FailureOf([] { Parsed(GetParam().text); }),
              "CXmlNode::LoadFromString failed, Error=" + std::to_string(GetParam().error))
        << GetParam().what;
}

std::string Nested(int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) {
        text += "<n>";
    }
    return text;
}

INSTANTIATE_TEST_SUITE_P(All, WrapXmlBroken,
                         testing::Values(BrokenText{"nothing", "", 13}, BrokenText{"no end tag", "<a>", 14},
                                         BrokenText{"wrong end tag", "<a></b>", 14},
                                         BrokenText{"bare attribute", "<a b></a>", 7},
                                         BrokenText{"open comment", "<a><!-- </a>", 10},
                                         BrokenText{"deep nesting", Nested(100'000), 18}));

TEST(WrapXml, TextEndsAtItsFirstZeroByte) {
    CXmlNode node;
    node.LoadFromString(Zelmo::String_t("<a/>\0<<<", 8));
    EXPECT_EQ(NameOf(node), "a");
}

TEST_F(WrapXmlFile, FailureNamesTheFileAndTheCode) {
    const auto failure = [](const std::string& path) {
        return FailureOf([&] { CXmlNode().LoadFromFile(path.c_str()); });
    };
    const std::string missing = m_folder.Path() / "missing.xml";
    EXPECT_EQ(failure(missing), "CXmlNode::LoadFromFile " + missing + " failed, Error=3");
    const std::string folder = m_folder.Path();
    EXPECT_EQ(failure(folder), "CXmlNode::LoadFromFile " + folder + " failed, Error=5");
    const std::string pipe = m_folder.Path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0); // would block until somebody writes
    EXPECT_EQ(failure(pipe), "CXmlNode::LoadFromFile " + pipe + " failed, Error=5");
    const std::string empty = Write("");
    EXPECT_EQ(failure(empty), "CXmlNode::LoadFromFile " + empty + " failed, Error=13");
}

TEST_F(WrapXmlFile, ObjectLoadsAgainAfterAFailure) {
    CXmlNode node = Parsed("<old/>");
    EXPECT_THROW(node.LoadFromString("<broken>"), GenICam::RuntimeException);
    node.LoadFromFile(Write("<new/>").c_str());
    EXPECT_EQ(NameOf(node), "new");
}

} // namespace
