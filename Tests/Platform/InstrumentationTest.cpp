#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Timing/Instrumentation.h"

namespace {

class InstrumentationTest : public testing::Test {
protected:
    ~InstrumentationTest() override { Instrumentation::setListener({}); }

    void listen() {
        Instrumentation::setListener([this](const Instrumentation::Report& report) {
            const std::lock_guard guard(lock);
            reports.emplace_back(std::string(report.timer), std::string(report.lap));
            totals.push_back(report.total);
            laps.push_back(report.lapTime);
        });
    }

    std::mutex lock;
    std::vector<std::pair<std::string, std::string>> reports;
    std::vector<Instrumentation::Clock::duration> totals;
    std::vector<Instrumentation::Clock::duration> laps;
};

TEST_F(InstrumentationTest, ReportsLapsAndTheEndInOrder) {
    listen();
    {
        Instrumentation timer("encode");
        timer.lap("rows");
        timer.lap("compressed");
    }
    const std::vector<std::pair<std::string, std::string>> expected{
        {"encode", "rows"}, {"encode", "compressed"}, {"encode", ""}};
    EXPECT_EQ(reports, expected);
    ASSERT_EQ(totals.size(), 3u);
    EXPECT_GE(laps[0].count(), 0);
    EXPECT_EQ(totals[0], laps[0]);
    EXPECT_GE(totals[2], laps[0] + laps[1] + laps[2]);
}

TEST_F(InstrumentationTest, SaysNothingWhenNobodyListensAtItsStart) {
    Instrumentation timer("silent");
    listen();
    timer.lap("a lap");
    EXPECT_TRUE(reports.empty());
}

TEST_F(InstrumentationTest, KeepsTheListenerItStartedWith) {
    listen();
    {
        Instrumentation timer("kept");
        Instrumentation::setListener({});
    }
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].first, "kept");
}

TEST_F(InstrumentationTest, DropsWhatAListenerThrows) {
    Instrumentation::setListener([](const Instrumentation::Report&) { throw std::runtime_error("no"); });
    EXPECT_NO_THROW({
        Instrumentation timer("thrown");
        timer.lap("a lap");
    });
}

TEST_F(InstrumentationTest, AListenerMayBeChangedWhileTimersRun) {
    std::atomic<int> heard = 0;
    std::atomic<bool> stop = false;
    std::vector<std::thread> workers;
    for (int i = 0; i < 3; ++i) {
        workers.emplace_back([&] {
            while (!stop) {
                Instrumentation timer("work");
                timer.lap("a lap");
            }
        });
    }
    while (heard < 100) {
        Instrumentation::setListener([&heard](const Instrumentation::Report&) { ++heard; });
        Instrumentation::setListener({});
    }
    stop = true;
    for (auto& worker : workers) {
        worker.join();
    }
    EXPECT_GE(heard, 100);
}

}  // namespace
