#include "tests/sweep/power_loss.h"

#include "tests/sweep/world.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace talvo::sweep {

namespace fs = std::filesystem;

namespace {

int FromHex(char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; }

std::string DecodeHex(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) bytes += char(FromHex(text[i]) << 4 | FromHex(text[i + 1]));
    return bytes;
}

std::string DecodePath(const std::string& text) {
    std::string path;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            path += DecodeHex(text.substr(i + 1, 2));
            i += 2;
        } else {
            path += text[i];
        }
    }
    return path == "-" ? std::string() : path;
}

Bool ChangesBytes(const std::string& name) { return name == "WRITE" || name == "TRUNCATE"; }

Bool ChangesNames(const std::string& name) {
    return name == "CREATE" || name == "OPEN_WRITE" || name == "RENAME" || name == "EXCHANGE" || name == "MAKE_DIRECTORY" ||
           name == "UNLINK" || name == "REMOVE_DIRECTORY";
}

Bool Syncs(const std::string& name) { return name == "SYNC" || name == "SYNC_DIRECTORY"; }

std::string GetParent(const std::string& path) { return fs::path(path).parent_path().string(); }

/// Brings `path` from below `from` to below `to`. @return whether it lay there.
Bool Move(std::string& path, const std::string& from, const std::string& to) {
    const Bool isThere = path == from || path.starts_with(from + "/");
    if (isThere) path = to + path.substr(from.size());
    return isThere;
}

void Append(const std::string& path, const std::string& bytes) {
    if (fs::exists(path)) std::ofstream(path, std::ios::binary | std::ios::app) << bytes;
}

}  // namespace

PowerLoss::PowerLoss(const std::string& tracePath) {
    std::ifstream trace(tracePath);
    for (std::string line; std::getline(trace, line);) {
        std::istringstream parts(line);
        Event event;
        int error = 0;
        parts >> event.operation >> event.name >> error >> event.path >> event.second >> event.bytes;
        const Bool counts = ChangesBytes(event.name) || ChangesNames(event.name) || Syncs(event.name);
        if (!parts || error != 0 || !counts) continue;
        event.path = DecodePath(event.path);
        event.second = DecodePath(event.second);
        event.bytes = event.bytes == "-" ? std::string() : DecodeHex(event.bytes);
        _events.push_back(std::move(event));
        _points.push_back({_events.back().operation, _events.size()});
    }
    if (_events.empty()) GiveUp("the trace " + tracePath + " holds nothing");
}

// What is synced under the name that it has by then is safe as well.
Bool PowerLoss::IsSafe(std::size_t index, std::size_t end) const {
    const Event& event = _events[index];
    const Bool bytes = ChangesBytes(event.name);
    std::string file = event.path;
    std::string first = GetParent(event.path);
    std::string second = GetParent(event.second);
    Bool firstSafe = false;
    Bool secondSafe = event.second.empty();
    for (std::size_t i = index + 1; i < end; ++i) {
        const Event& later = _events[i];
        if (later.name == "RENAME" || later.name == "EXCHANGE") {
            for (std::string* path : {&file, &first, &second}) {
                const Bool moved = Move(*path, later.path, later.second);
                if (!moved && later.name == "EXCHANGE") Move(*path, later.second, later.path);
            }
        }
        if (bytes && later.name == "SYNC" && later.path == file) return true;
        if (bytes || later.name != "SYNC_DIRECTORY") continue;
        firstSafe = firstSafe || later.path == first;
        secondSafe = secondSafe || later.path == second;
    }
    return firstSafe && secondSafe;
}

void PowerLoss::Replay(const Point& point, Int damage) const {
    std::mt19937 dice(std::uint32_t(damage * 7919 + Int(point.events)));
    for (std::size_t i = 0; i < point.events; ++i) {
        const Event& event = _events[i];
        const Bool safe = IsSafe(i, point.events);
        const Bool kept = safe || (damage >= 4 ? dice() % 2 == 0 : damage > 0);
        if (event.name == "WRITE") {
            const Int bytes = safe ? 0 : damage >= 4 ? Int(dice() % 4) : damage;
            if (bytes == 0 && kept) Append(event.path, event.bytes);
            if (bytes == 2) Append(event.path, event.bytes.substr(0, event.bytes.size() / 2));
            if (bytes == 3) Append(event.path, std::string(event.bytes.size(), '\0'));
            continue;
        }
        if (!kept) continue;
        // What misses its place, since a name before it was lost, is lost as well.
        if (event.name == "CREATE" || event.name == "OPEN_WRITE") {
            if (const int file = open(event.path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666); file >= 0) close(file);
        }
        std::error_code ignored;
        if (event.name == "TRUNCATE") fs::resize_file(event.path, 0, ignored);
        if (event.name == "MAKE_DIRECTORY") mkdir(event.path.c_str(), 0777);
        if (event.name == "UNLINK") unlink(event.path.c_str());
        if (event.name == "REMOVE_DIRECTORY") rmdir(event.path.c_str());
        if (event.name == "RENAME") std::rename(event.path.c_str(), event.second.c_str());
        if (event.name == "EXCHANGE") renameat2(AT_FDCWD, event.path.c_str(), AT_FDCWD, event.second.c_str(), RENAME_EXCHANGE);
    }
}

}  // namespace talvo::sweep
