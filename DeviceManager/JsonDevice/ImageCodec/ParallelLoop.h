#pragma once

#include <cstddef>
#include <functional>

namespace JsonDevice::ImageCodec {

/// How many threads the calling thread's part of the host may use, itself included.
std::size_t availableWorkers();

/// Calls work(piece) for the pieces from 0 to before `pieces` on up to `workers`
/// threads, the caller's among them, and returns when all is done. No piece waits
/// for another, so it does no harm when fewer threads come. With one worker or one
/// piece everything happens on the calling thread. While it waits the calling
/// thread takes on no work of the host's, so locks may be held across the call.
///
/// That work of the host's around it is cancelled or fails changes nothing of this.
/// When work throws, pieces not yet begun are left out, and the first exception
/// reaches the caller.
void forEachPiece(std::size_t pieces, std::size_t workers, const std::function<void(std::size_t)>& work);

/// Work that is handed to other threads.
using HandOver = std::function<void(std::function<void()>)>;

/// Calls produce(handOver) on the calling thread. Each work handed over is done once,
/// by another thread meanwhile or by the calling thread afterwards, and before this
/// returns; with one worker it is done at once. Else as forEachPiece.
void alongside(std::size_t workers, const std::function<void(const HandOver&)>& produce);

}  // namespace JsonDevice::ImageCodec
