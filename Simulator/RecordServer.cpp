#include "Simulator/RecordServer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <deque>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <asio.hpp>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace JsonDevice {

namespace {

using asio::ip::tcp;

constexpr const char* sourceFile = "Simulator/RecordServer";

/// A peer with more than so many bytes of unread replies is not read from.
constexpr std::size_t repliesInAdvance = std::size_t{1} << 20;
/// The most bytes that one write is given, one record at least.
constexpr std::size_t writeAtOnce = std::size_t{256} << 10;
/// A record beyond this gives its memory back when it is done.
constexpr std::size_t keptCapacity = std::size_t{1} << 20;

std::string toText(const tcp::endpoint& endpoint) {
    const std::string address = endpoint.address().to_string();
    const std::string port = ':' + std::to_string(endpoint.port());
    return endpoint.address().is_v6() ? '[' + address + ']' + port : address + port;
}

}  // namespace

struct RecordServer::Implementation {
    class Session;

    Implementation(Handler ownHandler, Forget ownForget, Options ownOptions)
        : handler(std::move(ownHandler)), forget(std::move(ownForget)), options(std::move(ownOptions)) {}

    void accept();
    void tick();
    void closeAll(const std::string& why);
    void report(TrafficEvent::Kind kind, const std::string& peer, const std::string& text) const {
        if (options.onTraffic) {
            options.onTraffic({kind, peer, text});
        }
    }
    Misbehaver::Plan plan(const std::string& request, std::string reply) {
        const std::lock_guard guard(misbehaverLock);
        if (misbehaver.empty()) {
            Misbehaver::Plan plain;
            if (!reply.empty()) {
                reply += '\0';
                plain.pieces.push_back(std::move(reply));
            }
            return plain;
        }
        return misbehaver.plan(request, std::move(reply));
    }

    const Handler handler;
    const Forget forget;
    const Options options;

    std::mutex misbehaverLock;
    Misbehaver misbehaver;

    /// Guards what starting, stopping and asking for the address share.
    mutable std::mutex controlLock;
    std::thread thread;
    tcp::endpoint endpoint;

    asio::io_context context{1};
    // Used by the thread alone while it runs.
    tcp::acceptor acceptor{context};
    asio::steady_timer acceptAgain{context};
    asio::steady_timer second{context};
    std::set<std::shared_ptr<Session>> sessions;
    std::atomic<std::size_t> connections{0};
};

/// One connection. Everything but notify happens on the server's thread.
class RecordServer::Implementation::Session final : public Caller,
                                                    public std::enable_shared_from_this<Session> {
public:
    Session(Implementation& owner, tcp::socket connected)
        : server(owner), socket(std::move(connected)), timer(owner.context) {}

    void start() {
        std::error_code ignored;
        peer = toText(socket.remote_endpoint(ignored));
        socket.set_option(tcp::no_delay(true), ignored);
        socket.set_option(asio::socket_base::keep_alive(true), ignored);
        server.report(TrafficEvent::Kind::connected, peer, {});
        receive();
    }

    void notify(const std::string& text) noexcept override {
        if (cutOff) {
            return;
        }
        const std::size_t length = text.size() + 1;
        const std::size_t before = backlog.fetch_add(length);
        try {
            if (before > 0 && before + length > server.options.largestBacklog) {
                if (!cutOff.exchange(true)) {
                    asio::post(server.context, [self = shared_from_this()] {
                        self->close("it does not read its notifications");
                    });
                }
                return;
            }
            asio::post(server.context, [self = shared_from_this(), copy = text] {
                self->send({copy + '\0', true});
            });
        } catch (...) {
            // No memory for it: a connection that has missed a change ends with its next request.
            cutOff = true;
        }
    }

    void close(const std::string& why) {
        if (!socket.is_open()) {
            return;
        }
        std::error_code ignored;
        socket.close(ignored);
        timer.cancel();
        server.forget(*this);
        server.report(TrafficEvent::Kind::disconnected, peer, why);
        server.sessions.erase(shared_from_this());
        server.connections = server.sessions.size();
    }

private:
    struct Outgoing {
        std::string bytes;
        bool notification = false;
    };

    void receive() {
        socket.async_read_some(asio::buffer(buffer), [self = shared_from_this()](const std::error_code& error,
                                                                                 std::size_t length) {
            if (error) {
                self->close(error == asio::error::eof ? std::string() : error.message());
                return;
            }
            self->position = 0;
            self->end = length;
            self->work();
        });
    }

    /// Serves what is in the buffer, then reads on. Returns early where it has
    /// to wait for a timer or for the peer to read; they call it again.
    void work() {
        while (socket.is_open()) {
            if (cutOff) {
                close("it was not told of a change");
                return;
            }
            if (waiting || resetWhenSent) {
                return;
            }
            if (repliesQueued > repliesInAdvance) {
                full = true;
                return;
            }
            if (position == end) {
                receive();
                return;
            }
            const char* const begin = buffer.data() + position;
            const char* const last = buffer.data() + end;
            const char* const nul = std::find(begin, last, '\0');
            take(begin, static_cast<std::size_t>(nul - begin));
            position += static_cast<std::size_t>(nul - begin);
            if (nul != last) {
                ++position;
                serve();
            }
        }
    }

    void take(const char* bytes, std::size_t length) {
        if (tooLong || length > server.options.largestRecord - record.size()) {
            tooLong = true;
            record = std::string();
        } else {
            record.append(bytes, length);
        }
    }

    void serve() {
        std::string reply;
        if (tooLong) {
            tooLong = false;
            reply = RequestError(ErrorCode::invalidRequest, "Invalid Request: a record of more than " +
                                                                std::to_string(server.options.largestRecord) +
                                                                " bytes")
                        .toReply({});
        } else if (record.empty()) {
            return;
        } else {
            if (record.capacity() - record.size() < JsonText::readPadding) {
                record.reserve(record.size() + JsonText::readPadding);
            }
            server.report(TrafficEvent::Kind::received, peer, record);
            reply = server.handler(record, *this);
        }
        plan = server.plan(record, std::move(reply));
        nextPiece = 0;
        if (record.capacity() > keptCapacity) {
            record = std::string();
        }
        record.clear();
        if (!plan.pieces.empty()) {
            plan.pieces.insert(plan.pieces.begin(), std::make_move_iterator(late.begin()),
                               std::make_move_iterator(late.end()));
            late.clear();
        }
        std::move(plan.late.begin(), plan.late.end(), std::back_inserter(late));
        if (plan.delayMs > 0) {
            wait(std::chrono::milliseconds(plan.delayMs));
        } else {
            followPlan();
        }
    }

    void followPlan() {
        while (nextPiece < plan.pieces.size()) {
            Outgoing piece{std::move(plan.pieces[nextPiece++])};
            repliesQueued += piece.bytes.size();
            send(std::move(piece));
            if (nextPiece < plan.pieces.size()) {
                wait(std::chrono::milliseconds(1));
                return;
            }
        }
        if (plan.reset) {
            resetWhenSent = true;
            if (writing.empty()) {
                reset();
            }
        }
    }

    void wait(std::chrono::milliseconds time) {
        waiting = true;
        timer.expires_after(time);
        timer.async_wait([self = shared_from_this()](const std::error_code& error) {
            if (!error && self->socket.is_open()) {
                self->waiting = false;
                self->followPlan();
                self->work();
            }
        });
    }

    void send(Outgoing outgoing) {
        if (!socket.is_open()) {
            return;
        }
        queue.push_back(std::move(outgoing));
        if (writing.empty()) {
            write();
        }
    }

    void write() {
        std::size_t length = 0;
        while (!queue.empty() && (writing.empty() || length + queue.front().bytes.size() <= writeAtOnce)) {
            length += queue.front().bytes.size();
            writing.push_back(std::move(queue.front()));
            queue.pop_front();
        }
        std::vector<asio::const_buffer> buffers;
        buffers.reserve(writing.size());
        for (const Outgoing& outgoing : writing) {
            if (server.options.onTraffic) {
                const bool ended = outgoing.bytes.back() == '\0';
                server.report(TrafficEvent::Kind::sent, peer,
                              outgoing.bytes.substr(0, outgoing.bytes.size() - (ended ? 1 : 0)));
            }
            buffers.emplace_back(asio::buffer(outgoing.bytes));
        }
        asio::async_write(
            socket, buffers,
            [self = shared_from_this()](const std::error_code& error, std::size_t) { self->written(error); });
    }

    void written(const std::error_code& error) {
        if (error) {
            close(error.message());
            return;
        }
        for (const Outgoing& outgoing : writing) {
            if (outgoing.notification) {
                backlog -= outgoing.bytes.size();
            } else {
                repliesQueued -= outgoing.bytes.size();
            }
        }
        writing.clear();
        if (!queue.empty()) {
            write();
        } else if (resetWhenSent) {
            reset();
            return;
        } else if (inputEnded) {
            close({});
            return;
        }
        if (full && repliesQueued <= repliesInAdvance) {
            full = false;
            work();
        }
    }

    void reset() {
        std::error_code ignored;
        socket.set_option(asio::socket_base::linger(true, 0), ignored);
        close("reset on purpose");
    }

    Implementation& server;
    tcp::socket socket;
    asio::steady_timer timer;
    std::string peer;

    std::array<char, 65'536> buffer;
    std::size_t position = 0;
    std::size_t end = 0;
    /// What was read of the current record.
    std::string record;
    bool tooLong = false;

    Misbehaver::Plan plan;
    std::size_t nextPiece = 0;
    std::vector<std::string> late;
    /// For the timer, in the middle of a plan.
    bool waiting = false;
    /// For the peer to read its replies.
    bool full = false;
    bool resetWhenSent = false;
    /// The peer sends no more; it is still given what it is owed.
    bool inputEnded = false;

    std::deque<Outgoing> queue;
    std::vector<Outgoing> writing;
    /// Bytes of replies that are not yet written.
    std::size_t repliesQueued = 0;
    /// Bytes of notifications that are not yet written, those not yet queued included.
    std::atomic<std::size_t> backlog{0};
    std::atomic<bool> cutOff{false};
};

void RecordServer::Implementation::accept() {
    acceptor.async_accept([this](const std::error_code& error, tcp::socket socket) {
        if (!acceptor.is_open()) {
            return;
        }
        if (error) {
            // Out of descriptors, most likely; trying again at once would spin.
            acceptAgain.expires_after(std::chrono::milliseconds(100));
            acceptAgain.async_wait([this](const std::error_code& cancelled) {
                if (!cancelled && acceptor.is_open()) {
                    accept();
                }
            });
            return;
        }
        const auto session = std::make_shared<Session>(*this, std::move(socket));
        sessions.insert(session);
        connections = sessions.size();
        session->start();
        accept();
    });
}

void RecordServer::Implementation::tick() {
    second.expires_after(std::chrono::seconds(1));
    second.async_wait([this](const std::error_code& cancelled) {
        if (!cancelled && acceptor.is_open()) {
            options.onSecond();
            tick();
        }
    });
}

void RecordServer::Implementation::closeAll(const std::string& why) {
    const auto all = sessions;
    for (const auto& session : all) {
        session->close(why);
    }
}

RecordServer::RecordServer(Handler handler, Forget forget, Options options)
    : implementation(
          std::make_unique<Implementation>(std::move(handler), std::move(forget), std::move(options))) {}

RecordServer::~RecordServer() {
    stop();
}

void RecordServer::start(std::uint16_t port, const std::string& listenAddress) {
    Implementation& server = *implementation;
    const std::lock_guard guard(server.controlLock);
    if (server.thread.joinable()) {
        throw KorvanExceptionRuntime(sourceFile, __LINE__, L"The server listens already");
    }
    try {
        const auto found = tcp::resolver(server.context)
                               .resolve(listenAddress, std::to_string(port), tcp::resolver::passive);
        const tcp::endpoint endpoint = *found.begin();
        server.acceptor = tcp::acceptor(server.context, endpoint, true);
        server.endpoint = server.acceptor.local_endpoint();
    } catch (const std::system_error& error) {
        throw DeviceException(sourceFile, __LINE__,
                              L"Cannot listen on " + toWide(listenAddress + ':' + std::to_string(port) +
                                                            ": " + error.code().message()));
    }
    server.context.restart();
    server.accept();
    if (server.options.onSecond) {
        server.tick();
    }
    // Signals are for the threads of the host.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        server.thread = std::thread([&server] { server.context.run(); });
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void RecordServer::stop() noexcept {
    Implementation& server = *implementation;
    const std::lock_guard guard(server.controlLock);
    if (!server.thread.joinable()) {
        return;
    }
    asio::post(server.context, [&server] {
        std::error_code ignored;
        server.acceptor.close(ignored);
        server.acceptAgain.cancel();
        server.second.cancel();
        server.closeAll("the server stops");
    });
    server.thread.join();
}

bool RecordServer::isRunning() const {
    const std::lock_guard guard(implementation->controlLock);
    return implementation->thread.joinable();
}

std::uint16_t RecordServer::getPort() const {
    const std::lock_guard guard(implementation->controlLock);
    return implementation->thread.joinable() ? implementation->endpoint.port() : std::uint16_t{0};
}

std::string RecordServer::getAddress() const {
    const std::lock_guard guard(implementation->controlLock);
    return implementation->thread.joinable() ? "tcp://" + toText(implementation->endpoint) : std::string();
}

std::size_t RecordServer::countConnections() const {
    return implementation->connections;
}

void RecordServer::disconnectAll() {
    const std::lock_guard guard(implementation->controlLock);
    if (implementation->thread.joinable()) {
        asio::post(implementation->context,
                   [server = implementation.get()] { server->closeAll("disconnected on purpose"); });
    }
}

void RecordServer::misbehave(const Misbehaviour& misbehaviour) {
    const std::lock_guard guard(implementation->misbehaverLock);
    implementation->misbehaver.add(misbehaviour);
}

void RecordServer::behave() {
    const std::lock_guard guard(implementation->misbehaverLock);
    implementation->misbehaver.clear();
}

}  // namespace JsonDevice
