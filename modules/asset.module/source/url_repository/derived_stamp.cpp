#include "url_repository/derived_stamp.h"

#include "kernel/app/application.h"
#include "kernel/data/standard_types.h"
#include "kernel/thread/locks.h"

#include <tuple>

namespace talvo {

namespace {

using StampedValue = std::tuple<Data, CString>;

Result<CString> MakeStamp() {
    const Application::Version version = TRY(Application::GetVersion());
    return CString(FormatMessage("@_@", Float64(version.number) / 1000.0, version.build));
}

Guarded<CString, Spinlock>& GetKnownStamp() {
    static auto& stamp = *new Guarded<CString, Spinlock>(KERNEL_TABLE_LOCK);
    return stamp;
}

}  // namespace

Result<CString> GetDerivedStamp() {
    {
        const auto known = GetKnownStamp().Read();
        if (known->IsPopulated()) return CString(*known);
    }
    CString stamp = TRY(MakeStamp());
    CString copy = stamp;
    const auto known = GetKnownStamp().Write();
    std::swap(*known, copy);
    return stamp;
}

void DropDerivedStamp() {
    CString dropped;
    const auto known = GetKnownStamp().Write();
    std::swap(*known, dropped);
}

Result<Data> PackDerivedValue(const Data& value) {
    CString stamp = TRY(GetDerivedStamp());
    return Data(StampedValue(value, std::move(stamp)));
}

Result<Data> UnpackDerivedValue(const Data& document) {
    const CString stamp = TRY(GetDerivedStamp());
    Result<StampedValue> stamped = document.Get<StampedValue>();
    if (stamped.IsError() || std::get<CString>(stamped.GetValue()) != stamp) return Data();
    return std::get<Data>(std::move(stamped).GetValue());
}

}  // namespace talvo
