#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <limits>
#include <mutex>

// oneTBB orders its tasks in ways that ThreadSanitizer does not understand, unless
// it was built for it: under ThreadSanitizer the workers are plain threads.
#if defined(__SANITIZE_THREAD__)
#define JSONDEVICE_PLAIN_THREADS
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define JSONDEVICE_PLAIN_THREADS
#endif
#endif

#if defined(JSONDEVICE_PLAIN_THREADS)
#include <thread>
#include <vector>
#else
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>
#endif

namespace JsonDevice::ImageCodec {

void PieceJob::join(std::size_t, std::size_t) {}
void PieceJob::place(std::size_t, std::size_t) {}

namespace {

#if defined(JSONDEVICE_PLAIN_THREADS)

template <class Body>
void onWorkers(std::size_t workers, Body body) {
    std::vector<std::jthread> threads;
    for (std::size_t worker = 1; worker < workers; ++worker) {
        threads.emplace_back([&body, worker] { body(worker); });
    }
    body(std::size_t{0});
}

template <class Body>
void isolated(Body body) {
    body();
}

#else

template <class Body>
void isolated(Body body) {
    oneapi::tbb::this_task_arena::isolate(body);
}

template <class Body>
void onWorkers(std::size_t workers, Body body) {
    isolated(
        [&] { oneapi::tbb::parallel_for(std::size_t{0}, workers, body, oneapi::tbb::simple_partitioner()); });
}

#endif

/// The pieces of one call, claimed in order by whichever worker is free.
class Run {
public:
    Run(PieceJob& job, std::size_t pieces) : job(job), pieces(pieces) {}

    void work(std::size_t worker) {
        for (std::size_t piece = next++; piece < pieces && turn != givenUp; piece = next++) {
            try {
                // A job calls into the host, which may run loops of its own. Kept
                // apart, its waiting cannot begin another piece on this stack, which
                // would wait for this piece's turn for ever.
                isolated([&] { job.produce(piece, worker); });
                if (!waitForTurn(piece)) {
                    return;
                }
                job.join(piece, worker);
                std::size_t expected = piece;
                turn.compare_exchange_strong(expected, piece + 1);
                turn.notify_all();
                job.place(piece, worker);
            } catch (...) {
                giveUp();
            }
        }
    }

    void rethrow() const {
        if (error) {
            std::rethrow_exception(error);
        }
    }

private:
    static constexpr std::size_t givenUp = std::numeric_limits<std::size_t>::max();

    bool waitForTurn(std::size_t piece) {
        // Pieces are claimed in order, so the one whose turn it is is at work.
        for (std::size_t now = turn; now != piece; now = turn) {
            if (now == givenUp) {
                return false;
            }
            turn.wait(now);
        }
        return true;
    }
    void giveUp() {
        {
            const std::lock_guard guard(lock);
            if (!error) {
                error = std::current_exception();
            }
        }
        turn = givenUp;
        turn.notify_all();
    }

    PieceJob& job;
    const std::size_t pieces;
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> turn{0};
    std::mutex lock;
    std::exception_ptr error;
};

}  // namespace

std::size_t availableWorkers() {
#if defined(JSONDEVICE_PLAIN_THREADS)
    return std::max(1U, std::thread::hardware_concurrency());
#else
    return static_cast<std::size_t>(std::max(1, oneapi::tbb::this_task_arena::max_concurrency()));
#endif
}

void runPieces(PieceJob& job, std::size_t pieces, std::size_t workers) {
    if (workers <= 1 || pieces <= 1) {
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            job.produce(piece, 0);
            job.join(piece, 0);
            job.place(piece, 0);
        }
        return;
    }
    Run run(job, pieces);
    onWorkers(std::min(workers, pieces), [&run](std::size_t worker) { run.work(worker); });
    run.rethrow();
}

}  // namespace JsonDevice::ImageCodec
