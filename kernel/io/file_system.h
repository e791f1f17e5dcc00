// The one place through which every operation on files of the system goes: numbered, so that tests can stop, fail and trace
// each of them.
#pragma once

#include "kernel/base/result.h"
#include "kernel/base/types.h"

#include <string_view>

namespace talvo {

/// What a numbered operation is.
enum class FILE_OPERATION : Int32 {
    OPEN_READ,
    OPEN_WRITE,
    CREATE,
    READ,
    WRITE,
    SYNC,
    SYNC_DIRECTORY,
    RENAME,
    EXCHANGE,
    MAKE_DIRECTORY,
    UNLINK,
    REMOVE_DIRECTORY,
    STAT,
    LIST,
    TRUNCATE,
    LOCK,
    SET_ATTRIBUTES,
    CLOSE
};

/// A plan for the operations to come. Only in builds with TALVO_FAULTS; else it is never asked.
///
/// Text form, from the environment's TALVO_IO_PLAN at the first operation or by Set: `kill-before@N`, `kill-after@N`,
/// `fail@N:ERRNO`, `failfrom@N:ERRNO`, `short@N`, `trace:FILE`, several joined by ";". N counts from 1; ERRNO is ENOSPC, EIO,
/// EMFILE, EACCES or a number. A killed process ends by SIGKILL. The empty plan only counts.
///
/// A trace has a line for each operation that was not stopped before it began:
/// `<number> <operation> <errno or 0> <path> <second path or -> <bytes written, hexadecimal, or ->`; in paths, blanks, control
/// bytes and "%" are percent-encoded. Threads: any; operations of all threads are counted together.
namespace FaultPlan {

/// Errors: IllegalArgumentError that shows the part not understood, IoError if the trace can't be made (both leave the plan
/// as it was), UnsupportedOperationError in builds without faults.
Result<void> Set(std::string_view plan);
/// From here on nothing is hit or counted.
void Clear();
/// Operations counted since the last Set; 0 in builds without faults.
Int GetOperationCount();
/// True if a planned fault was met since the last Set.
Bool WasHit();
/// Only operations of this path and below are counted and hit; empty: all. Default: the environment's TALVO_IO_SCOPE.
void SetScope(std::string_view pathPrefix);

}  // namespace FaultPlan

/// How hard acknowledged writes are: FAST leaves it to the system, DURABLE syncs files and directories.
enum class DURABILITY { FAST, DURABLE };

/// The durability of streams with OUTPUT_MODE::REPLACE and of the sync calls of hosts. Process-wide; default FAST, or the
/// environment's TALVO_DURABILITY ("fast", "durable"). Threads: any.
DURABILITY GetDurability();
void SetDurability(DURABILITY durability);

}  // namespace talvo
