#include <gtest/gtest.h>

#include "Common/WideText.h"
#include "Platform/Transport/DeviceAddress.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace {

std::string complaint(std::string_view text) {
    try {
        return "accepted as " + DeviceAddress::parse(text).toText();
    } catch (const DeviceException& error) {
        return toUtf8(error.getMessage());
    }
}

TEST(DeviceAddress, ReadsNamesAndAddresses) {
    const DeviceAddress named = DeviceAddress::parse("tcp://projector-1.lab:5000");
    EXPECT_EQ(named.getHost(), "projector-1.lab");
    EXPECT_EQ(named.getPort(), 5000);
    EXPECT_EQ(named.toText(), "tcp://projector-1.lab:5000");

    EXPECT_EQ(DeviceAddress::parse("tcp://192.168.1.20:1").toText(), "tcp://192.168.1.20:1");
    EXPECT_EQ(DeviceAddress::parse("tcp://my_host:65535").toText(), "tcp://my_host:65535");
}

TEST(DeviceAddress, ReadsIpv6InBrackets) {
    const DeviceAddress address = DeviceAddress::parse("tcp://[2001:DB8:0:0::1]:5000");
    EXPECT_EQ(address.getHost(), "2001:db8::1");
    EXPECT_EQ(address.toText(), "tcp://[2001:db8::1]:5000");
    EXPECT_EQ(DeviceAddress::parse("[fe80::1%eth0.100]:7").toText(), "tcp://[fe80::1%eth0.100]:7");
}

TEST(DeviceAddress, TheSchemeMayBeLeftOutAndHasNoCase) {
    EXPECT_EQ(DeviceAddress::parse("Projector:5000"), DeviceAddress::parse("TCP://projector:5000"));
    EXPECT_NE(DeviceAddress::parse("projector:5000"), DeviceAddress::parse("projector:5001"));
}

TEST(DeviceAddress, TheTextFormReadsBackAsTheSameAddress) {
    for (const char* text : {"tcp://a:1", "[::1]:2", "10.0.0.1:3", "tcp://[fe80::2%en0]:65535"}) {
        const DeviceAddress address = DeviceAddress::parse(text);
        EXPECT_EQ(DeviceAddress::parse(address.toText()), address) << text;
    }
}

TEST(DeviceAddress, SaysWhatIsWrong) {
    const std::pair<std::string_view, const char*> wrong[] = {
        {"", "the host is missing"},
        {"tcp://", "the host is missing"},
        {"tcp://:5000", "the host is missing"},
        {"udp://host:5000", "the scheme \"udp\" is not known"},
        {"http://host:5000", "the scheme \"http\" is not known"},
        {"host", "the port is missing"},
        {"tcp://host:", "the port is missing"},
        {"tcp://[::1]", "the port is missing"},
        {"tcp://[::1]:", "the port is missing"},
        {"tcp://host:port", "the port \"port\" is not a number"},
        {"tcp://host:5000/", "the port \"5000/\" is not a number"},
        {"tcp://host:+50", "the port \"+50\" is not a number"},
        {"tcp://host:-1", "the port \"-1\" is not a number"},
        {"tcp://host: 5", "the port \" 5\" is not a number"},
        {"tcp://host:0", "the port 0 is not between 1 and 65535"},
        {"tcp://host:65536", "the port 65536 is not between 1 and 65535"},
        {"tcp://host:99999999999999999999", "the port 99999999999999999999 is not between 1 and 65535"},
        {"tcp://::1:5000", "there is more than one colon"},
        {"tcp://[::1:5000", "the closing bracket is missing"},
        {"tcp://[::1]5000", "only a port may follow the closing bracket"},
        {"tcp://[host]:5000", "\"host\" is not an IPv6 address"},
        {"tcp://[1.2.3.4]:5000", "\"1.2.3.4\" is not an IPv6 address"},
        {"tcp://[]:5000", "\"\" is not an IPv6 address"},
        {"tcp://[fe80::1%]:5000", "\"\" is not the name of a network interface"},
        {"tcp://[fe80::1%a b]:5000", "\"a b\" is not the name of a network interface"},
        {"tcp://user@host:5000", "the host contains \"@\""},
        {"tcp://ho st:5000", "the host contains a character that no host name has"},
        {"tcp://b\xC3\xBChne:5000", "the host contains a character that no host name has"},
        {std::string_view("tcp://ho\0st:5000", 16), "the host contains a character that no host name has"},
        {"tcp://300.1.1.1:5000", "\"300.1.1.1\" is not an IPv4 address"},
        {"tcp://1.2.3:5000", "\"1.2.3\" is not an IPv4 address"},
        {"tcp://a..b:5000", "\"a..b\" cannot be the name of a host"},
        {"tcp://.a:5000", "\".a\" cannot be the name of a host"},
    };
    for (const auto& [text, why] : wrong) {
        EXPECT_EQ(complaint(text), "\"" + std::string(text) + "\" is not a device address: " + why +
                                       " (write tcp://host:port, an IPv6 address in brackets)");
    }
    EXPECT_NE(complaint("tcp://" + std::string(254, 'a') + ":1").find("cannot be the name"),
              std::string::npos);
}

}  // namespace
