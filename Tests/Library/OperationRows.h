#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

class Communicator;

/// The tests of all adapter operations are one table. A row says what an
/// operation sends, what the device answers and what comes out; the suite puts
/// every row through the good case and through every failure.
namespace OperationRows {

struct Exchange {
    /// The method string, the params and the "result" of the reply, as JSON.
    std::string method;
    std::string params;
    std::string result;
};

/// What an operation makes of a failed exchange.
enum class OnFailure {
    /// It passes the exception on.
    raises,
    /// It answers a value of its own for failures that are KorvanParseException.
    answers,
};

struct Row {
    /// What the test is called, beside the method string when an operation has several rows.
    std::string name;
    /// In the order in which they are sent; none for a local operation.
    std::vector<Exchange> exchanges;
    /// Constructs an adapter on the communicator, calls the operation, and expects its value.
    std::function<void(Communicator&)> expect;
    /// The same without expecting anything of the value.
    std::function<void(Communicator&)> call;
    /// Whether a null result is refused.
    bool typed = true;
    OnFailure onFailure = OnFailure::raises;
    /// For OnFailure::answers: the same as expect, for the answer to a failure.
    std::function<void(Communicator&)> expectAnswer = nullptr;
};

/// How a row is named in what a failed test says.
inline void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

/// Adds rows to the table; made at namespace scope by each adapter's test.
struct Table {
    explicit Table(std::vector<Row> rows);
};

/// All rows of all tables.
const std::vector<Row>& all();

/// An operation with a result: `operation` takes the adapter and returns the value.
template <class Adapter, class Operation, class Value>
Row returns(std::string method, std::string params, std::string result, Operation operation, Value expected) {
    const auto name = method;
    return {name,
            {{std::move(method), std::move(params), std::move(result)}},
            [=](Communicator& communicator) {
                Adapter adapter(&communicator);
                EXPECT_EQ(operation(adapter), expected);
            },
            [=](Communicator& communicator) {
                Adapter adapter(&communicator);
                static_cast<void>(operation(adapter));
            }};
}

/// An operation without a result: whatever the device answers, null included, is ignored.
template <class Adapter, class Operation>
Row sends(std::string method, std::string params, Operation operation) {
    const auto name = method;
    const auto call = [=](Communicator& communicator) {
        Adapter adapter(&communicator);
        operation(adapter);
    };
    return {name, {{std::move(method), std::move(params), "null"}}, call, call, false};
}

/// An operation that sends nothing. `operation` takes the adapter and expects its value itself.
template <class Adapter, class Operation>
Row stays(std::string name, Operation operation) {
    const auto call = [=](Communicator& communicator) {
        Adapter adapter(&communicator);
        operation(adapter);
    };
    return {std::move(name), {}, call, call, false};
}

}  // namespace OperationRows
