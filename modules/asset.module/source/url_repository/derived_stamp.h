// The stamp of derived values: they don't outlive the application version that computed them.
#pragma once

#include "kernel/data/data.h"

namespace talvo {

/// The stamp of this application, made at first need.
Result<CString> GetDerivedStamp();
/// Forgets it, so that the next need makes it anew.
void DropDerivedStamp();
/// `value` as a `.derived` document keeps it.
Result<Data> PackDerivedValue(const Data& value);
/// The value of such a document; empty if another version of the application wrote it, or it is no such document.
Result<Data> UnpackDerivedValue(const Data& document);

}  // namespace talvo
