// SPDX-License-Identifier: Apache-2.0
#include <Log/CLog.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

using namespace GenICam;

namespace {

/// Takes everything and does nothing with it.
class NullAppender : public Appender {
public:
    NullAppender() : Appender("null") {}
    void Append(const LogRecord& record) override { benchmark::DoNotOptimize(record.message.data()); }
};

/// The log up, at INFO, with a target that costs nothing.
class LogBench : public benchmark::Fixture {
public:
    void SetUp(const benchmark::State& state) override {
        if (state.thread_index() != 0) {
            return;
        }
        CLog::Initialize();
        CLog::RemoveAllAppenders();
        CLog::AddAppender(CLog::GetRootLogger(), std::make_shared<NullAppender>());
        CLog::SetPriorityInfo(CLog::GetRootLogger());
    }
    void TearDown(const benchmark::State& state) override {
        if (state.thread_index() == 0) {
            CLog::ShutDown();
        }
    }

protected:
    Logger& m_logger = CLog::GetLogger("bench.log");
};

BENCHMARK_DEFINE_F(LogBench, Disabled)(benchmark::State& state) {
    for (auto _ : state) {
        m_logger.log(LogPriority_Debug, "Camera %p: %s", static_cast<void*>(this), "a message");
    }
}
BENCHMARK_REGISTER_F(LogBench, Disabled)->ThreadRange(1, 2);

BENCHMARK_DEFINE_F(LogBench, Enabled)(benchmark::State& state) {
    for (auto _ : state) {
        m_logger.log(LogPriority_Info, "Camera %p: %s", static_cast<void*>(this), "a message");
    }
}
BENCHMARK_REGISTER_F(LogBench, Enabled)->ThreadRange(1, 2);

BENCHMARK_DEFINE_F(LogBench, EnabledLongMessage)(benchmark::State& state) {
    const std::string text(4000, 'x');
    for (auto _ : state) {
        m_logger.log(LogPriority_Info, "%s", text.c_str());
    }
}
BENCHMARK_REGISTER_F(LogBench, EnabledLongMessage);

/// What formatting alone costs, to compare with.
void BareFormatting(benchmark::State& state) {
    char text[256];
    for (auto _ : state) {
        std::snprintf(text, sizeof text, "Camera %p: %s", static_cast<void*>(&state), "a message");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BareFormatting);

BENCHMARK_DEFINE_F(LogBench, GetLogger)(benchmark::State& state) {
    const gcstring name = m_logger.getName();
    for (auto _ : state) {
        benchmark::DoNotOptimize(&CLog::GetLogger(name));
    }
}
BENCHMARK_REGISTER_F(LogBench, GetLogger);

} // namespace
