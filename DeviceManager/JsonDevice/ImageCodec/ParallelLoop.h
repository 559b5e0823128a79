#pragma once

#include <cstddef>

namespace JsonDevice::ImageCodec {

/// A job cut into pieces. Each piece goes through three steps on one thread:
/// produce, join, place. The first and the last run for several pieces at once,
/// join for one piece at a time and in the order of the pieces.
///
/// A worker is one of the threads at work on a job: what belongs to a worker is
/// used by one thread only. A step may throw; pieces not yet begun are then left
/// out, and the first exception reaches the caller of runPieces.
class PieceJob {
public:
    virtual void produce(std::size_t piece, std::size_t worker) = 0;
    virtual void join(std::size_t piece, std::size_t worker);
    virtual void place(std::size_t piece, std::size_t worker);

protected:
    PieceJob() = default;
    ~PieceJob() = default;
};

/// How many threads the calling thread's part of the host may use, itself included.
std::size_t availableWorkers();

/// Runs the job on up to `workers` threads, the caller's among them, and returns
/// when all of it is done. With one worker or one piece everything happens on the
/// calling thread. While it waits the calling thread takes on no work of the
/// host's, so it is safe to hold locks across the call.
void runPieces(PieceJob& job, std::size_t pieces, std::size_t workers);

}  // namespace JsonDevice::ImageCodec
