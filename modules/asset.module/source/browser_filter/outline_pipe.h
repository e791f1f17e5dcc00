// Outlines on their way from the thread that reads them to another one, which enters them: each takes about half of the time.
#pragma once

#include "baseassetrepository.h"

#include <array>
#include <atomic>
#include <thread>

namespace talvo {

/// Threads: Put and Finish by one; the taker is called by another one, in the order of Put, or by that very one where no thread can be had.
class OutlinePipe {
public:
    /// As BaseAssetRepository::OutlineReceiver, whose ids and values must stay until the end.
    using Taker = BaseAssetRepository::OutlineReceiver;
    /// @param keyCount of values of each outline. @param taker must outlive the pipe.
    OutlinePipe(std::size_t keyCount, Taker taker);
    ~OutlinePipe() { End(); }

    /// Errors: the taker's, perhaps of an outline before; OutOfMemoryError.
    Result<void> Put(const Id& aid, const Id& type, Opt<Block<const StoredValue>> values);
    /// Waits until all are taken. Errors: the taker's.
    Result<void> Finish();

private:
    static constexpr std::size_t BATCHES = 4;
    static constexpr std::size_t OUTLINES_OF_A_BATCH = 512;
    static constexpr UInt LAST = UInt(1) << 63;
    struct Outline {
        const Id* aid;
        const Id* type;
        Bool isTold;
    };
    struct Batch {
        std::vector<Outline> outlines;
        std::vector<StoredValue> values;  // of those that are told
    };
    void Pass(UInt flag);
    void TakeAll();
    Result<void> Take(const Batch& batch) const;
    void End();

    const std::size_t _keyCount;
    const Taker _taker;
    std::array<Batch, BATCHES> _batches;
    // Batches from `_taken` to `_put` belong to the taker, the one at `_put` to whoever puts.
    std::atomic<UInt> _put{0};
    std::atomic<UInt> _taken{0};
    std::atomic<Bool> _hasFailed{false};
    Result<void> _failure;  // constant once `_hasFailed` is set
    std::thread _thread;
};

}  // namespace talvo
