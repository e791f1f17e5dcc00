#include "browser_filter/outline_pipe.h"

#include <system_error>

namespace talvo {

OutlinePipe::OutlinePipe(std::size_t keyCount, Taker taker) : _keyCount(keyCount), _taker(taker) {
    for (Batch& batch : _batches) {
        batch.outlines.reserve(OUTLINES_OF_A_BATCH);
        batch.values.reserve(OUTLINES_OF_A_BATCH * keyCount);
    }
    try {
        _thread = std::thread([this] { TakeAll(); });
    } catch (const std::system_error&) {
        // Slower, and as good.
    }
}

Result<void> OutlinePipe::Put(const Id& aid, const Id& type, Opt<Block<const StoredValue>> values) {
    if (!_thread.joinable()) return _taker(aid, type, values);
    Batch& batch = _batches[_put.load(std::memory_order_relaxed) % BATCHES];
    batch.outlines.push_back({&aid, &type, values.has_value()});
    if (values) batch.values.insert(batch.values.end(), values->begin(), values->end());
    if (batch.outlines.size() < OUTLINES_OF_A_BATCH) return OK;
    Pass(0);
    return _hasFailed.load(std::memory_order_acquire) ? _failure : Result<void>(OK);
}

/// Hands the batch over and waits for a free one.
void OutlinePipe::Pass(UInt flag) {
    const UInt put = _put.load(std::memory_order_relaxed) + 1;
    _put.store(put | flag, std::memory_order_release);
    _put.notify_one();
    for (UInt taken = _taken.load(std::memory_order_acquire); put - taken >= BATCHES;
         taken = _taken.load(std::memory_order_acquire))
        _taken.wait(taken, std::memory_order_acquire);
}

void OutlinePipe::TakeAll() {
    for (UInt taken = 0;; ++taken) {
        UInt put = _put.load(std::memory_order_acquire);
        for (; put == taken; put = _put.load(std::memory_order_acquire)) _put.wait(put, std::memory_order_acquire);
        if ((put & ~LAST) == taken) return;
        Batch& batch = _batches[taken % BATCHES];
        if (!_hasFailed.load(std::memory_order_relaxed)) {
            Result<void> result = CatchOutOfMemory([&] { return Take(batch); });
            if (result.IsError()) {
                _failure = std::move(result);
                _hasFailed.store(true, std::memory_order_release);
            }
        }
        batch.outlines.clear();
        batch.values.clear();
        _taken.store(taken + 1, std::memory_order_release);
        _taken.notify_one();
    }
}

Result<void> OutlinePipe::Take(const Batch& batch) const {
    std::size_t next = 0;
    for (const Outline& outline : batch.outlines) {
        Opt<Block<const StoredValue>> values;
        if (outline.isTold) {
            values = Block<const StoredValue>(batch.values).subspan(next, _keyCount);
            next += _keyCount;
        }
        TRY(_taker(*outline.aid, *outline.type, values));
    }
    return OK;
}

Result<void> OutlinePipe::Finish() {
    End();
    return _hasFailed.load(std::memory_order_acquire) ? _failure : Result<void>(OK);
}

void OutlinePipe::End() {
    if (!_thread.joinable()) return;
    Pass(LAST);
    _thread.join();
}

}  // namespace talvo
