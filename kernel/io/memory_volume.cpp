#include "kernel/io/memory_volume.h"

#include "kernel/base/uuid.h"
#include "kernel/io/file_errors.h"
#include "kernel/io/memory_handler.h"
#include "kernel/io/memory_streams.h"
#include "kernel/text/format.h"

#include <cerrno>
#include <unordered_map>
#include <utility>

namespace talvo {

namespace {

class VolumeImpl;

/// The open volumes by name. Weak: the volume's owner decides how long it lives.
using VolumeTable = Guarded<std::unordered_map<std::string, WeakRef<VolumeImpl>>, Spinlock>;

/// Never destroyed: volumes may still go when statics do.
VolumeTable& GetVolumes() {
    static VolumeTable& table = *new VolumeTable(KERNEL_TABLE_LOCK);
    return table;
}

class VolumeImpl final : public MemoryVolume {
public:
    explicit VolumeImpl(std::string name) : _name(std::move(name)) {}
    ~VolumeImpl() override {
        const auto volumes = GetVolumes().Write();
        volumes->erase(_name);
    }
    Url GetRoot() const override { return Url::Create(URLSCHEME_MEMORY, _name, {}); }
    MemoryTree& GetTree() { return _tree; }

private:
    const std::string _name;
    MemoryTree _tree;
};
using VolumeImplRef = StrongRef<VolumeImpl>;

Result<VolumeImplRef> GetVolume(const Url& url) {
    VolumeImplRef volume;
    {
        const auto volumes = GetVolumes().Read();
        const auto found = volumes->find(std::string(url.GetAuthority()));
        if (found != volumes->end()) volume = found->second.Promote();
    }
    if (!volume) return IoError::Create(FormatMessage("Can't open @: There is no such volume in memory (any more).", url));
    return volume;
}

class MemoryConnection final : public IoConnection {
public:
    MemoryConnection(Url url, VolumeImplRef volume) : _url(std::move(url)), _volume(std::move(volume)), _path(_url.GetPath()) {}

    Url GetUrl() const override { return _url; }

    Result<BaseArray<IoEntry>> Browse(BROWSE_MODE) override {
        BaseArray<IoEntry> entries;
        TRY(Check(GetTree().List(_path, entries), "list"));
        return entries;
    }
    Result<InputStreamRef> OpenInputStream() override {
        MemoryNodeRef file;
        TRY(Check(GetTree().OpenFile(_path, file), "read"));
        return CreateMemoryInputStream({_volume, GetTree(), _path, _url.ToString()}, std::move(file));
    }
    Result<OutputStreamRef> OpenOutputStream(OUTPUT_MODE mode) override {
        MemoryStreamPlace place{_volume, GetTree(), _path, _url.ToString()};
        if (mode == OUTPUT_MODE::REPLACE) {
            TRY(Check(GetTree().CheckReplace(_path), "write"));
            return CreateMemoryReplaceStream(std::move(place));
        }
        MemoryNodeRef file;
        TRY(Check(GetTree().OpenFileForWriting(_path, mode, file), "write"));
        return CreateMemoryOutputStream(std::move(place), std::move(file));
    }
    Result<Int64> GetContentLength() override {
        const MemoryStatus status = TRY(Look("tell the length of"));
        if (status.kind != IO_DETECT::FILE) return MakeFileError("tell the length of", _url.ToString().GetView(), EISDIR);
        return status.size;
    }
    IO_DETECT IoDetect() override {
        MemoryStatus status;
        const int error = GetTree().Look(_path, status);
        if (error == ENOENT || error == ENOTDIR) return IO_DETECT::NOT_THERE;
        return error == 0 ? status.kind : IO_DETECT::FAILED;
    }
    Result<Bool> IoIsLink() override {
        TRY(Look("look at"));
        return false;
    }
    Result<UInt> IoGetAttributes() override {
        const MemoryStatus status = TRY(Look("look at"));
        return UInt(status.readOnly ? 1 : 0);
    }
    Result<void> IoSetAttributes(UInt flags, UInt mask) override {
        if ((mask & 1) == 0) return OK;
        return Check(GetTree().SetReadOnly(_path, (flags & 1) != 0), "change the permissions of");
    }
    Result<UniversalDateTime> IoGetTime() override {
        const MemoryStatus status = TRY(Look("tell the time of"));
        return status.time;
    }
    Result<void> IoDelete() override {
        CHECK_ARGUMENT(_url.GetName() != "." && _url.GetName() != "..", "name of a file or folder");
        return Check(GetTree().Delete(_path), "delete");
    }
    Result<void> IoCreateDirectory() override { return Check(GetTree().MakeDirectories(_path), "make the folder"); }
    Result<Bool> IoCreateDirectoryExclusive() override {
        const int error = GetTree().MakeDirectory(_path);
        if (error == EEXIST) return false;
        TRY(Check(error, "make the folder"));
        return true;
    }
    Result<void> IoRename(const Url& target, RENAME_MODE mode) override {
        if (target.GetScheme() != _url.GetScheme() || target.GetAuthority() != _url.GetAuthority()) {
            return UnsupportedArgumentError::Create(
                FormatMessage("Can't rename @ to @: both must lie in one volume. Copy it instead.", _url, target));
        }
        if (const int error = GetTree().Rename(_path, target.GetPath(), mode)) {
            return MakeFileError("rename", _url.ToString().GetView(), target.ToString().GetView(), error);
        }
        return OK;
    }
    /// Nothing of it survives anyway.
    Result<void> IoSync() override {
        TRY(Look("sync"));
        return OK;
    }

private:
    /// Where files are slow, work under a lock would wait for them: it is refused here too, so that tests in memory see it.
    MemoryTree& GetTree() const {
        CheckNoLockHeld(LOCK_USE::IO, "a file operation");
        return _volume->GetTree();
    }
    Result<void> Check(int error, std::string_view verb, SourceLocation location = SourceLocation::Current()) const {
        return error == 0 ? Result<void>() : MakeFileError(verb, _url.ToString().GetView(), error, location);
    }
    Result<MemoryStatus> Look(std::string_view verb) const {
        MemoryStatus status;
        TRY(Check(GetTree().Look(_path, status), verb));
        return status;
    }

    const Url _url;
    const VolumeImplRef _volume;
    const std::string _path;
};

class MemoryHandler final : public IoHandler {
public:
    Id GetUrlScheme() const override { return URLSCHEME_MEMORY; }
    Result<IoConnectionRef> OpenConnection(const Url& url) override {
        if (url.GetPath().find('\0') != std::string_view::npos) {
            return IllegalArgumentError::Create(FormatMessage("\"@\" can't be a path: it holds a NUL byte.", url));
        }
        VolumeImplRef volume = TRY(GetVolume(url));
        return IoConnectionRef(new MemoryConnection(url, std::move(volume)));
    }
};

}  // namespace

IoHandlerRef CreateMemoryHandler() { return IoHandlerRef(new MemoryHandler); }

Result<MemoryVolumeRef> MemoryVolume::Create() {
    return CatchOutOfMemory([]() -> Result<MemoryVolumeRef> {
        const Uuid uuid = TRY(Uuid::CreateId());
        const std::string name = uuid.ToCompactString();
        const auto volume = VolumeImplRef::Create(name);
        const WeakRef<VolumeImpl> weak(volume);
        const auto volumes = GetVolumes().Write();
        volumes->emplace(name, weak);
        return MemoryVolumeRef(volume);
    });
}

}  // namespace talvo
