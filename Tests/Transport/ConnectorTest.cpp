#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "Platform/Transport/Communicator.h"
#include "Platform/Transport/Connector.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace {

/// Notes what a Connector tells it.
class Recorder : public Communicator {
public:
    std::wstring getDisplayName() const override { return L"recorder"; }
    int read(char*, int, int, int) override { return 0; }
    int write(const char*, std::size_t length, int, int) override { return static_cast<int>(length); }
    void beginExchange() noexcept override { events += "begin "; }
    void abandonExchange() noexcept override { events += "abandon "; }

    std::string events;
};

TEST(Connector, RefusesToHoldNothing) {
    EXPECT_THROW(Connector(nullptr), DeviceNotConnectedException);
}

TEST(Connector, TellsTheStartAndNothingMoreOfAnExchangeThatSucceeds) {
    Recorder recorder;
    Connector(&recorder).succeeded();
    EXPECT_EQ(recorder.events, "begin ");
}

TEST(Connector, TellsOfAnAbandonedExchangeAtItsEnd) {
    Recorder recorder;
    try {
        Connector connector(&recorder);
        EXPECT_EQ(recorder.events, "begin ");
        throw std::runtime_error("the reply never came");
    } catch (const std::runtime_error&) {
        recorder.events += "caught";
    }
    EXPECT_EQ(recorder.events, "begin abandon caught");
}

TEST(Connector, NestedOnesAreOneExchange) {
    Recorder recorder;
    {
        Connector outer(&recorder);
        {
            Connector inner(&recorder);
            inner.succeeded();
        }
        outer.succeeded();
    }
    EXPECT_EQ(recorder.events, "begin ");
}

TEST(Connector, OnlyTheOutermostAbandonsAlsoForAnInnerOne) {
    Recorder recorder;
    {
        Connector outer(&recorder);
        { Connector inner(&recorder); }
        EXPECT_EQ(recorder.events, "begin ") << "the exchange is not over yet";
        outer.succeeded();
    }
    EXPECT_EQ(recorder.events, "begin abandon ");
    Connector(&recorder).succeeded();
    EXPECT_EQ(recorder.events, "begin abandon begin ") << "an exchange is not to blame for the one before it";
}

}  // namespace
