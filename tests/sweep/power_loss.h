// What a disk may hold after a loss of power: all that was synced, and of the rest any part.
#pragma once

#include "kernel/base/types.h"

#include <string>
#include <vector>

namespace talvo::sweep {

/// Replays a trace of file operations (kernel/io/file_system.h tells its form) as far as the disk might have got.
///
/// The model: bytes are safe once their file was synced, names once their directory was synced. What isn't safe was written or not, bytes and
/// names apart from each other, so that a name may be there before the bytes of its file.
class PowerLoss {
public:
    explicit PowerLoss(const std::string& tracePath);

    /// A moment at which the power may go: right after an operation that changed or synced something.
    struct Point {
        Int operation = 0;
        std::size_t events = 0;
    };
    const std::vector<Point>& GetPoints() const { return _points; }

    /// 0: nothing but what is safe; 1: names, no bytes; 2: names, half of the bytes; 3: names, zeros for bytes; 4, 5: some of both.
    static constexpr Int DAMAGES = 6;
    /// Does to the files what was traced up to `point`, with this damage. They must be as they were when the trace began.
    void Replay(const Point& point, Int damage) const;

private:
    struct Event {
        Int operation = 0;
        std::string name;
        std::string path;
        std::string second;
        std::string bytes;
    };
    Bool IsSafe(std::size_t event, std::size_t end) const;

    std::vector<Event> _events;
    std::vector<Point> _points;
};

}  // namespace talvo::sweep
