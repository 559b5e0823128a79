#include "Tests/Library/OperationRows.h"

#include <algorithm>
#include <set>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tests/Library/ManualClock.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace OperationRows {

namespace {

std::vector<Row>& rows() {
    static std::vector<Row> table;
    return table;
}

std::string request(std::size_t index, const Exchange& exchange) {
    return R"({"id":)" + std::to_string(index + 1) + R"(,"jsonrpc":"2.0","method":")" + exchange.method +
           R"(","params":)" + exchange.params + "}";
}

std::string reply(std::size_t index, const std::string& result) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(index + 1) + R"(,"result":)" + result + "}";
}

/// Scripts the exchanges before the one at `index` as they should be, and the request of that one.
void scriptUpTo(ScriptedCommunicator& device, const Row& row, std::size_t index) {
    for (std::size_t i = 0; i < index; ++i) {
        device.expect(request(i, row.exchanges[i])).reply(reply(i, row.exchanges[i].result));
    }
    device.expect(request(index, row.exchanges[index]));
}

/// A value that no marshaller of the type of this result accepts.
std::string wrongType(const std::string& result) {
    return result.starts_with('[') ? "{}" : "[]";
}

/// How one exchange goes wrong, and what the caller should see of it.
template <class Exception>
void expectFailure(const Row& row, const char* what,
                   const std::function<void(ScriptedCommunicator&, std::size_t)>& script,
                   const std::function<void(const Exception&)>& examine = nullptr) {
    for (std::size_t index = 0; index < row.exchanges.size(); ++index) {
        SCOPED_TRACE(std::string(what) + " in exchange " + std::to_string(index + 1));
        ManualClock clock;
        ScriptedCommunicator device;
        device.onTimeOut([&](int timeoutMs) { clock.advance(timeoutMs); });
        scriptUpTo(device, row, index);
        script(device, index);
        constexpr bool parse = std::is_base_of_v<KorvanParseException, Exception>;
        if (parse && row.onFailure == OnFailure::answers) {
            row.expectAnswer(device);
            continue;
        }
        try {
            row.call(device);
            ADD_FAILURE() << "no exception";
        } catch (const Exception& e) {
            if (examine) {
                examine(e);
            }
        } catch (const KorvanExceptionBase&) {
            ADD_FAILURE() << "an exception of another type";
        }
    }
}

class Operations : public testing::TestWithParam<Row> {};

TEST_P(Operations, SendsTheRequestAndReadsTheResult) {
    const Row& row = GetParam();
    ScriptedCommunicator device;
    for (std::size_t i = 0; i < row.exchanges.size(); ++i) {
        device.expect(request(i, row.exchanges[i])).reply(reply(i, row.exchanges[i].result));
    }
    row.expect(device);
}

TEST_P(Operations, SaysWhatWentWrong) {
    const Row& row = GetParam();
    using JsonDevice::ErrorReplyException;
    expectFailure<ErrorReplyException>(
        row, "an error reply",
        [](ScriptedCommunicator& device, std::size_t index) {
            device.reply(R"({"jsonrpc":"2.0","id":)" + std::to_string(index + 1) +
                         R"(,"error":{"code":-7,"message":"lamp off","data":[1]}})");
        },
        [](const ErrorReplyException& e) {
            EXPECT_EQ(e.getCode(), -7);
            EXPECT_EQ(e.getErrorMessage(), "lamp off");
            EXPECT_EQ(e.getData().size(), 1U);
            EXPECT_NE(e.getMessage().find(L" Json response contained Error tag: "), std::wstring::npos);
        });
    expectFailure<JsonDevice::NoReplyException>(
        row, "a time-out", [](ScriptedCommunicator& device, std::size_t) { device.silence(); });
    expectFailure<DeviceNotConnectedException>(
        row, "a lost connection", [](ScriptedCommunicator& device, std::size_t) { device.lose(); });
    expectFailure<JsonDevice::BrokenProtocolException>(
        row, "garbage", [](ScriptedCommunicator& device, std::size_t) { device.reply("garbage"); });
    expectFailure<JsonDevice::BrokenProtocolException>(
        row, "the id of another request",
        [](ScriptedCommunicator& device, std::size_t index) { device.reply(reply(index + 1, "null")); });
    if (row.typed) {
        expectFailure<KorvanParseException>(
            row, "a result of another type", [&](ScriptedCommunicator& device, std::size_t index) {
                device.reply(reply(index, wrongType(row.exchanges[index].result)));
            });
        expectFailure<KorvanParseException>(
            row, "a null result",
            [](ScriptedCommunicator& device, std::size_t index) { device.reply(reply(index, "null")); },
            [](const KorvanParseException& e) {
                EXPECT_EQ(e.getMessage(), L"JSON: result was nullptr, felt best not to read that");
                EXPECT_EQ(e.getFile(), "");
                EXPECT_EQ(e.getLine(), 0);
            });
        expectFailure<KorvanParseException>(
            row, "no result", [](ScriptedCommunicator& device, std::size_t index) {
                device.reply(R"({"jsonrpc":"2.0","id":)" + std::to_string(index + 1) + "}");
            });
    }
}

INSTANTIATE_TEST_SUITE_P(All, Operations, testing::ValuesIn(all()),
                         [](const testing::TestParamInfo<Row>& info) {
                             std::string name = info.param.name;
                             std::replace_if(
                                 name.begin(), name.end(),
                                 [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; },
                                 '_');
                             return name;
                         });

TEST(OperationRows, CoverTheVocabulary) {
    std::set<std::string_view> tested;
    for (const Row& row : all()) {
        for (const Exchange& exchange : row.exchanges) {
            tested.insert(exchange.method);
        }
    }
    std::set<std::string_view> spoken;
    for (const auto& operation : JsonDevice::Vocabulary::operations()) {
        EXPECT_TRUE(spoken.insert(operation.method).second) << operation.method << " stands twice";
        EXPECT_TRUE(tested.contains(operation.method)) << operation.method << " has no row";
    }
    EXPECT_EQ(tested.size(), spoken.size());
}

}  // namespace

Table::Table(std::vector<Row> added) {
    rows().insert(rows().end(), std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
}

const std::vector<Row>& all() {
    return rows();
}

}  // namespace OperationRows
