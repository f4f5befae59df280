// SPDX-License-Identifier: Apache-2.0
#include "MapFixture.h"

#include <algorithm>
#include <map>
#include <string>

namespace {

using namespace GenApi;
using tests::Node;

std::string Choice(const char* name, const std::vector<const char*>& entries) {
    std::string text;
    for (size_t value = 0; value < entries.size(); ++value) {
        text += Node("EnumEntry", entries[value], "<Value>" + std::to_string(value) + "</Value>");
    }
    return Node("Enumeration", name, text + "<Value>0</Value>");
}

/// A device with two files and an access buffer of 16 bytes, of which it lets 14 be used.
class FilestreamTest : public tests::MapTest, public tests::MemoryPort {
protected:
    FilestreamTest() {
        Load(Choice("FileSelector", {"A", "B"}) + Choice("FileOpenMode", {"Read", "Write", "ReadWrite"}) +
             Choice("FileOperationSelector", {"Open", "Close", "Read", "Write", "Delete"}) +
             Choice("FileOperationStatus", {"Success", "Failure"}) + tests::Value("FileOperationResult") +
             tests::Value("FileAccessOffset") + tests::Value("FileAccessLength", 0, "<Max>14</Max>") +
             tests::Value("FileSize") + Node("Register", "FileAccessBuffer", tests::Place(64, 16)) +
             Node("IntReg", "Run", tests::Place(0, 1)) +
             tests::Above("Command", "FileOperationExecute", "Run", "<CommandValue>1</CommandValue>"));
        Map->Connect(this);
        EXPECT_TRUE(Adapter.attach(Map.get()));
    }
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        MemoryPort::Write(pBuffer, Address, Length);
        if (std::exchange(Memory[0], uint8_t{0}) == 0) {
            return;
        }
        const char operation = Text("FileOperationSelector")[0];
        const auto offset = static_cast<size_t>(Int("FileAccessOffset").GetValue());
        const size_t count = std::min(MostBytes, static_cast<size_t>(Int("FileAccessLength").GetValue()));
        std::string& file = Files[Text("FileSelector")];
        const bool fails = operation == FailAt;
        Opened += operation == 'O' ? 1 : operation == 'C' ? -1 : 0;
        if (operation == 'W' && !fails) {
            file.replace(offset, count, reinterpret_cast<const char*>(&Memory[64]), count);
        }
        if (operation == 'R' && !fails) {
            file.copy(reinterpret_cast<char*>(&Memory[64]), count, offset);
        }
        file.resize(operation == 'D' ? 0 : file.size());
        As<IEnumeration>("FileOperationStatus").SetIntValue(fails);
        Int("FileOperationResult") = fails ? -7 : static_cast<int64_t>(count);
        Int("FileSize") = static_cast<int64_t>(file.size());
    }

    std::map<std::string, std::string> Files;
    size_t MostBytes = 16; // of one operation
    char FailAt = ' ';     // the operation that begins so
    int Opened = 0;        // and not closed
    FileProtocolAdapter Adapter;
};

TEST_F(FilestreamTest, WhatIsWrittenArrivesWholeInBlocksThatTheDeviceMayCutShort) {
    for (const auto& [most, length] : {std::pair(16, 0), {16, 1}, {16, 14}, {16, 15}, {16, 100}, {5, 14}, {5, 100}}) {
        MostBytes = static_cast<size_t>(most);
        std::string text(static_cast<size_t>(length), ' ');
        std::generate(text.begin(), text.end(), [next = ' ']() mutable { return next++; });
        Adapter.deleteFile("B");
        ODevFileStream(&Adapter, "B") << text; // closed at the end of its life
        IDevFileStream input(&Adapter, "B");
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(input), {}), text);
    }
    ODevFileStream output(&Adapter, "A");
    output << "more than one block" << std::flush;
    EXPECT_EQ(Files["A"], "more than one block");
    output.seekp(5) << "THAN";
    output.close();
    ODevFileStream(&Adapter, "A", std::ios::app) << '!';
    EXPECT_EQ(Files["A"], "more THAN one block!");
    IDevFileStream input(&Adapter, "A");
    EXPECT_EQ(input.seekg(-6, std::ios::end).tellg(), 14);
    EXPECT_EQ(input.get(), 'b');
    EXPECT_FALSE(input.seekg(-1));
    input.close();
    EXPECT_EQ(Opened, 0);
}

TEST_F(FilestreamTest, FailuresSetBadbitAndRaiseTheResultWhereAskedFor) {
    for (const std::string operation : {"Open", "Write", "Close", "Read"}) {
        for (const auto raised : {std::ios::goodbit, std::ios::badbit}) {
            FailAt = operation[0];
            ODevFileStream output;
            IDevFileStream input;
            output.exceptions(raised);
            input.exceptions(raised);
            const std::string outcome = Failure([&] {
                output.open(&Adapter, "A");
                output << "text";
                output.close();
                input.open(&Adapter, "A");
                input.get();
            });
            EXPECT_TRUE(output.bad() || input.bad()) << operation;
            EXPECT_EQ(outcome.substr(0, outcome.find(" : ")),
                      raised == std::ios::goodbit ? "no exception"
                                                  : operation + " of file 'A' failed: FileOperationStatus is "
                                                                "'Failure', FileOperationResult is -7");
        }
    }
    FailAt = ' ';
    MostBytes = 0;
    EXPECT_THROW(Adapter.write("x", 0, 1, "A"), GenICam::RuntimeException) << "it would never end";
    EXPECT_THROW(Adapter.read(nullptr, -1, 1, "A"), GenICam::InvalidArgumentException);
    EXPECT_THROW(Adapter.openFile("C", std::ios::in), GenICam::InvalidArgumentException);
    EXPECT_FALSE(Adapter.attach(tests::MakeMap(tests::Value("FileSize")).get()));
    EXPECT_THROW(Adapter.getBufSize(), GenICam::AccessException);
}

} // namespace
