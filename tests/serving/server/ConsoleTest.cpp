// SPDX-License-Identifier: Apache-2.0
#include "serving/server/Console.h"
#include "serving/Receiver.h"
#include "serving/server/LineInput.h"
#include "serving/server/ServedCamera.h"
#include "serving/server/ServingNetwork.h"

#include <serving/description/ServedDescriptions.h>
#include <serving/stream/RateBudgets.h>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/mman.h>

#include <iostream>
#include <sstream>

namespace Serving {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Two served cameras, and what is printed of them.
class ConsoleTest : public testing::Test {
protected:
    std::vector<std::unique_ptr<CServedCamera>> MakeCameras() {
        const CServedSettings settings{ServedDescription(ESchema::Version_1_1), {}};
        std::vector<std::unique_ptr<CServedCamera>> cameras;
        for (std::uint32_t i = 0; i < 2; ++i) {
            cameras.push_back(
                std::make_unique<CServedCamera>(i, CAddressing{OwnAddress(10 + i)}, settings, m_network, m_rates));
        }
        return cameras;
    }
    /// What the line is answered by: on standard output, or on standard error.
    std::string Type(const std::string& line) { return Print(line, std::cout); }
    std::string ErrorOf(const std::string& line) { return Print(line, std::cerr); }

    std::string Print(const std::string& line, std::ostream& stream) {
        const std::ostringstream printed;
        std::streambuf* const before = stream.rdbuf(printed.rdbuf());
        m_console.OnLine(line);
        stream.rdbuf(before);
        return printed.str();
    }
    CFaultSetting Loss(std::size_t camera) { return m_cameras[camera]->Faults().Get(EFault::PacketLoss); }

    CServingNetwork m_network{LookAtInterface("lo"), EAddressPolicy::AsFound, [](const std::string&) {}};
    CRateBudgets m_rates;
    std::vector<std::unique_ptr<CServedCamera>> m_cameras = MakeCameras();
    CReport m_report{EFormat::Json, ENotes::Told};
    int m_quits = 0;
    CConsole m_console{m_cameras, m_report, [this] { ++m_quits; }};
};

TEST_F(ConsoleTest, FaultsAreSetListedAndResetForOneCameraOrAll) {
    const std::string first = m_cameras[0]->SerialNumber();
    EXPECT_THAT(Type("fault packet-loss=0.5,2@7:3"), HasSubstr(R"("name":"packet-loss","rate":0.5,"parameter":2)"));
    EXPECT_THAT(Type("  fault\t" + first + "  packet-loss=0.25x9 "), HasSubstr(R"("times_left":9)"));
    EXPECT_EQ(Loss(0).rate, 0.25);
    EXPECT_EQ(Loss(0).left, 9u);
    EXPECT_EQ(Loss(1).rate, 0.5);
    ASSERT_EQ(Loss(1).places.size(), 1u);
    EXPECT_EQ(Loss(1).places[0].packet, 3u);
    EXPECT_THAT(Type("faults"), HasSubstr(R"("places":[{"block":7,"packet":3}],"count":0)"));
    EXPECT_THAT(Type("reset " + first), HasSubstr(R"("type":"reset")"));
    EXPECT_EQ(Loss(0).rate, 0);
    EXPECT_EQ(Loss(1).rate, 0.5);
    Type("reset");
    EXPECT_EQ(Loss(1).rate, 0);
    EXPECT_THAT(Type("faults"), Not(HasSubstr("packet-loss")));
}

TEST_F(ConsoleTest, StatusIsTheCamerasNumbersAndQuitEnds) {
    const std::string printed = Type("status");
    const CJson status = CJson::parse(printed.substr(0, printed.find('\n'))); // of the first camera
    EXPECT_EQ(status["device"], m_cameras[0]->SerialNumber());
    EXPECT_EQ(status["address"], OwnAddressText(10));
    EXPECT_EQ(status["controlled_by"], "");
    EXPECT_EQ(status["commands"], 0);
    EXPECT_EQ(m_quits, 0);
    Type("quit");
    EXPECT_EQ(m_quits, 1);
}

TEST_F(ConsoleTest, ALineThatIsNoCommandIsAnsweredAndChangesNothing) {
    struct {
        const char* line;
        const char* named;
    } const cases[] = {
        {"hello", "'hello'"},
        {"fault", "fault [SERIAL] NAME"},
        {"fault sunspots", "sunspots"},
        {"fault packet-loss=1.5", "packet-loss=1.5"},
        {"fault 4711 packet-loss", "'4711'"},
        {"fault packet-loss 1 2", "fault [SERIAL] NAME"},
        {"reset 4711", "'4711'"},
        {"faults all", "faults"},
        {"status 1", "status"},
        {"quit now", "quit"},
        {"QUIT", "'QUIT'"},
    };
    for (const auto& one : cases) {
        const CJson error = CJson::parse(ErrorOf(one.line));
        EXPECT_EQ(error["type"], "error");
        EXPECT_EQ(error["code"], "usage");
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr(one.named));
    }
    EXPECT_THAT(ErrorOf(" \t "), IsEmpty());
    EXPECT_EQ(m_quits, 0);
    EXPECT_EQ(Loss(0).rate + Loss(1).rate, 0);
}

/// Standard input is put back at the end.
class LineInputTest : public testing::Test {
protected:
    ~LineInputTest() override { dup2(m_former.Number(), STDIN_FILENO); }

    /// The lines of what can be read from @p source until it ends, or nothing more happens.
    std::vector<std::string> LinesOf(CDescriptor source) {
        dup2(source.Number(), STDIN_FILENO);
        std::vector<std::string> lines;
        CEventLoop loop;
        const CLineInput input(loop, [&](const std::string& line) { lines.push_back(line); });
        for (int round = 0; round < 8; ++round) { // a pipe holds as many pieces at most
            loop.Round(0);
        }
        return lines;
    }

    const CDescriptor m_former{dup(STDIN_FILENO)};
};

TEST_F(LineInputTest, LinesComeWholeAndTheLastOneWithoutItsEndToo) {
    const std::string typed = "status\n\n" + std::string(5000, 'x') + "\nquit";
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    CDescriptor reading(pipeEnds[0]), writing(pipeEnds[1]);
    ASSERT_EQ(write(writing.Number(), typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    writing.Reset();
    CDescriptor file(memfd_create("typed", 0));
    ASSERT_EQ(pwrite(file.Number(), typed.data(), typed.size(), 0), static_cast<ssize_t>(typed.size()));
    const auto expected = ElementsAre("status", "", std::string(4096, 'x'), "quit");
    EXPECT_THAT(LinesOf(std::move(reading)), expected);
    EXPECT_THAT(LinesOf(std::move(file)), expected) << "a file";
    EXPECT_THAT(LinesOf(CDescriptor(open("/dev/null", O_RDONLY))), IsEmpty());
}

} // namespace
} // namespace Serving
