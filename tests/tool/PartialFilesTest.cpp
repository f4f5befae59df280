// SPDX-License-Identifier: Apache-2.0
#include "PartialFiles.h"
#include "Errors.h"
#include "Signals.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tool::ToolError;

std::string Content(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const std::string& path, const std::string& text) {
    tool::WriteFileWhole(path, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

std::string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ToolError& error) {
        EXPECT_EQ(error.GetExitCode(), tool::ExitCode::Failed);
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

class PartialFilesTest : public testing::Test {
protected:
    TemporaryFolder m_folder;
};

TEST_F(PartialFilesTest, LinksArePassedAndPipesAreWrittenToButNeverReplaced) {
    std::ofstream(m_folder / "a") << "old";
    std::filesystem::create_symlink("a", m_folder / "link");
    Write(m_folder / "link", "new");
    EXPECT_EQ(Content(m_folder / "a"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder / "link"));
    ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    const int reader = open((m_folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    Write(m_folder / "pipe", "text");
    char text[8] = {};
    EXPECT_EQ(read(reader, text, sizeof(text)), 4);
    close(reader);
    EXPECT_STREQ(text, "text");
    EXPECT_TRUE(std::filesystem::is_fifo(m_folder / "pipe"));
}

TEST_F(PartialFilesTest, FullDiskLeavesTheOlderFileAndNoPartialOne) {
    Write(m_folder / "a", "old");
    tool::IgnoreWriteSignals();
    const rlimit small{1000, RLIM_INFINITY};
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string message = MessageOf([&] { Write(m_folder / "a", std::string(2000, 'x')); });
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_THAT(message, testing::AllOf(HasSubstr(m_folder / "a"), HasSubstr("File too large")));
    EXPECT_EQ(Content(m_folder / "a"), "old");
    EXPECT_THAT(m_folder.List(), ElementsAre("a"));
}

TEST_F(PartialFilesTest, TargetThatCannotBeReplacedLeavesNoPartialFile) {
    std::filesystem::create_directory(m_folder / "a");
    EXPECT_THAT(MessageOf([&] { Write(m_folder / "a", "text"); }), HasSubstr(m_folder / "a"));
    EXPECT_THAT(m_folder.List(), ElementsAre("a"));
}

TEST_F(PartialFilesTest, ThreadsWriteAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 50; ++i) {
                Write(m_folder / (std::to_string(t) + "-" + std::to_string(i)), std::to_string(i));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(m_folder.List().size(), 200u);
    EXPECT_EQ(Content(m_folder / "3-49"), "49");
}

TEST_F(PartialFilesTest, HandlerRemovesWhatIsBeingWrittenAndNothingElse) {
    for (const char* name : {"done", "partial"}) {
        std::ofstream(m_folder / name) << "x";
    }
    tool::PartialFiles::Entry done(m_folder / "done");
    done.Release();
    tool::PartialFiles::Entry partial(m_folder / "partial");
    tool::PartialFiles::RemoveAllFromSignalHandler();
    EXPECT_THAT(m_folder.List(), ElementsAre("done"));
}

TEST_F(PartialFilesTest, FileThatIsDoneLeavesThatOfTheNextOneAlone) {
    std::ofstream(m_folder / "next") << "x";
    auto done = std::make_unique<tool::PartialFiles::Entry>(m_folder / "done");
    done->Release();
    tool::PartialFiles::Entry next(m_folder / "next"); // in the place that became free
    done.reset();
    EXPECT_THAT(m_folder.List(), ElementsAre("next"));
}

TEST_F(PartialFilesTest, TooManyFilesAtATimeAreRefused) {
    std::vector<std::unique_ptr<tool::PartialFiles::Entry>> entries;
    EXPECT_THAT(MessageOf([&] {
                    for (int i = 0; i < 1000; ++i) {
                        entries.push_back(std::make_unique<tool::PartialFiles::Entry>(m_folder / std::to_string(i)));
                    }
                }),
                HasSubstr("too many"));
    EXPECT_EQ(entries.size(), 64u);
    EXPECT_THROW(Write(std::string(5000, 'x'), "text"), ToolError) << "a path that no system takes";
}

} // namespace
