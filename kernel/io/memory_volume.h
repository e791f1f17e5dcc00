// A file system in memory, reached by urls of the scheme `ramdisk`.
#pragma once

#include "kernel/io/url.h"

namespace talvo {

/// One tree of files in memory, gone with its last reference. Directories, files, exclusive creation, rename and exchange
/// behave as on disk, so the same code runs on both. Threads: any.
class MemoryVolume : public ObjectInterface {
public:
    static Result<StrongRef<MemoryVolume>> Create();
    /// `ramdisk://<fresh name>/`; opens only while this object lives.
    virtual Url GetRoot() const = 0;
};
using MemoryVolumeRef = StrongRef<MemoryVolume>;

}  // namespace talvo
