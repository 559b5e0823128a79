#include "DeviceManager/JsonDevice/ImageCodec/ParallelLoop.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>

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
#include <future>
#include <thread>
#include <utility>
#include <vector>
#else
#include <dlfcn.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/partitioner.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>
#endif

namespace JsonDevice::ImageCodec {

namespace {

#if !defined(JSONDEVICE_PLAIN_THREADS)
/// Ends oneTBB's threads when this library is unloaded, as far as they are not the
/// host's as well. A thread of the host that has run a loop and still lives keeps
/// them; so oneTBB, whose code they sleep in, stays in memory once it was used.
class Scheduler {
public:
    Scheduler() : handle(oneapi::tbb::attach()) {
        Dl_info info{};
        if (dladdr(reinterpret_cast<const void*>(&oneapi::tbb::detail::r1::max_concurrency), &info) != 0) {
            dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
        }
    }
    ~Scheduler() { oneapi::tbb::finalize(handle, std::nothrow); }

private:
    oneapi::tbb::task_scheduler_handle handle;
};
#endif

#if !defined(JSONDEVICE_PLAIN_THREADS)
/// Calls body(context): the calling thread takes on no work of the host's meanwhile,
/// and what runs under the context is not cancelled when the host's work is.
template <class Body>
void apartFromTheHost(Body body) {
    static const Scheduler scheduler;
    oneapi::tbb::task_group_context context(oneapi::tbb::task_group_context::isolated);
    oneapi::tbb::this_task_arena::isolate([&] { body(context); });
}
#endif

/// Calls body() on each of so many threads.
template <class Body>
void onWorkers(std::size_t workers, Body body) {
#if defined(JSONDEVICE_PLAIN_THREADS)
    std::vector<std::jthread> threads;
    for (std::size_t worker = 1; worker < workers; ++worker) {
        threads.emplace_back(body);
    }
    body();
#else
    apartFromTheHost([&](oneapi::tbb::task_group_context& context) {
        oneapi::tbb::parallel_for(
            std::size_t{0}, workers, [&](std::size_t) { body(); }, oneapi::tbb::simple_partitioner(),
            context);
    });
#endif
}

}  // namespace

std::size_t availableWorkers() {
#if defined(JSONDEVICE_PLAIN_THREADS)
    return std::max(1U, std::thread::hardware_concurrency());
#else
    return static_cast<std::size_t>(std::max(1, oneapi::tbb::this_task_arena::max_concurrency()));
#endif
}

void forEachPiece(std::size_t pieces, std::size_t workers, const std::function<void(std::size_t)>& work) {
    if (workers <= 1 || pieces <= 1) {
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            work(piece);
        }
        return;
    }
    std::atomic<std::size_t> next{0};
    std::mutex lock;
    std::exception_ptr error;
    onWorkers(std::min(workers, pieces), [&] {
        try {
            for (std::size_t piece = next++; piece < pieces; piece = next++) {
                work(piece);
            }
        } catch (...) {
            next = pieces;
            const std::lock_guard guard(lock);
            if (!error) {
                error = std::current_exception();
            }
        }
    });
    if (error) {
        std::rethrow_exception(error);
    }
}

void alongside(std::size_t workers, const std::function<void(const HandOver&)>& produce) {
    if (workers <= 1) {
        produce([](const std::function<void()>& work) { work(); });
        return;
    }
#if defined(JSONDEVICE_PLAIN_THREADS)
    std::vector<std::future<void>> handedOver;
    produce([&](std::function<void()> work) {
        handedOver.push_back(std::async(std::launch::async, std::move(work)));
    });
    for (std::future<void>& work : handedOver) {
        work.get();
    }
#else
    apartFromTheHost([&](oneapi::tbb::task_group_context& context) {
        oneapi::tbb::task_group group(context);
        try {
            produce([&](const std::function<void()>& work) { group.run(work); });
        } catch (...) {
            group.cancel();
            group.wait();
            throw;
        }
        group.wait();
    });
#endif
}

}  // namespace JsonDevice::ImageCodec
