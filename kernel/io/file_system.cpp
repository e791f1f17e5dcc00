#include "kernel/io/file_system.h"

#include <atomic>
#include <cstdlib>

namespace talvo {

namespace {

DURABILITY ReadDurability() {
    const char* text = std::getenv("TALVO_DURABILITY");
    return text && std::string_view(text) == "durable" ? DURABILITY::DURABLE : DURABILITY::FAST;
}

std::atomic<DURABILITY>& GetDurabilityFlag() {
    static std::atomic<DURABILITY> flag{ReadDurability()};
    return flag;
}

}  // namespace

DURABILITY GetDurability() { return GetDurabilityFlag().load(std::memory_order_relaxed); }

void SetDurability(DURABILITY durability) { GetDurabilityFlag().store(durability, std::memory_order_relaxed); }

}  // namespace talvo
