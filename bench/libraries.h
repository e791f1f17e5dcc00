// Libraries with an index, made once for all benchmarks of a run.
#pragma once

#include "bench/library/library_model.h"
#include "bench/measure.h"
#include "bench/report.h"

namespace talvo::bench {

/// A folder with the index files of a library of `count` assets. It is never changed.
std::string GetLibrary(const Setting& setting, Int count);
LibraryModel MakeLibraryModel(Int count);
/// A copy to be changed, which shares files that are only ever replaced.
void CopyLibrary(const std::string& library, const std::string& copy);
/// The text of its index.
std::string GetIndexTextFile(const std::string& library);
/// `work` in a process of its own.
Cost MeasureInChild(FunctionRef<void()> work);

}  // namespace talvo::bench
