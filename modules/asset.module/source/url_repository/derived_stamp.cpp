#include "url_repository/derived_stamp.h"

#include "kernel/app/application.h"
#include "kernel/data/standard_types.h"

#include <tuple>

namespace talvo {

namespace {

using StampedValue = std::tuple<Data, CString>;

Result<CString> MakeStamp() {
    const Application::Version version = TRY(Application::GetVersion());
    return CString(FormatMessage("@_@", Float64(version.number) / 1000.0, version.build));
}

}  // namespace

Result<CString> GetDerivedStamp() {
    static const Result<CString> stamp = MakeStamp();
    return stamp;
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
