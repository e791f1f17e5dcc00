#include "assets/asset_walk.h"

#include <bit>

namespace talvo {

namespace {

constexpr std::size_t FIRST_SLOTS = 64;

Bool IsSameAsset(const AssetVersionEntry& first, const AssetVersionEntry& second) {
    return first.description->GetIdAndVersion().first == second.description->GetIdAndVersion().first;
}

// Counters of different repositories don't compare: between them only the time counts, and on a tie the one that was offered first stays.
Bool IsNewer(const AssetVersionEntry& entry, const AssetVersionEntry& known) {
    const Bool sameRepository = known.description->GetRepositoryId() == entry.description->GetRepositoryId();
    return sameRepository ? known.key < entry.key : known.key.time < entry.key.time;
}

}  // namespace

void LatestAssets::Offer(UInt hash, const AssetVersionBlock& block, const AssetVersionEntry& entry) {
    if (!_slots.empty()) __builtin_prefetch(&_slots[hash & (_slots.size() - 1)]);
    _offered.push_back({hash, &entry, block});
    if (Int(_offered.size()) >= BATCH) Settle();
}

void LatestAssets::Expect(Int more) {
    Settle();
    const std::size_t count = _candidates.size() + std::size_t(more);
    if (count > _candidates.capacity()) _candidates.reserve(count);
    if (count * 2 > _slots.size()) Rehash(std::bit_ceil(std::max(count * 2, FIRST_SLOTS)));
}

Block<const LatestAssets::Candidate> LatestAssets::GetCandidates() {
    Settle();
    return _candidates;
}

void LatestAssets::Settle() {
    if ((_candidates.size() + _offered.size()) * 2 > _slots.size()) Rehash(std::max(FIRST_SLOTS, _slots.size() * 2));
    for (Candidate& offered : _offered) SettleOne(offered);
    _offered.clear();
}

void LatestAssets::SettleOne(Candidate& offered) {
    const UInt32 fragment = GetFragment(offered.hash);
    for (std::size_t place = offered.hash & (_slots.size() - 1);; place = (place + 1) & (_slots.size() - 1)) {
        Slot& slot = _slots[place];
        if (slot.number == 0) {
            _candidates.push_back(std::move(offered));
            slot = {UInt32(_candidates.size()), fragment};
            return;
        }
        if (slot.fragment != fragment) continue;
        Candidate& known = _candidates[slot.number - 1];
        if (known.hash != offered.hash || !IsSameAsset(*known.entry, *offered.entry)) continue;
        if (IsNewer(*offered.entry, *known.entry)) known = std::move(offered);
        return;
    }
}

void LatestAssets::Rehash(std::size_t slotCount) {
    std::vector<Slot> slots(slotCount);
    for (std::size_t i = 0; i < _candidates.size(); ++i) {
        std::size_t place = _candidates[i].hash & (slotCount - 1);
        while (slots[place].number != 0) place = (place + 1) & (slotCount - 1);
        slots[place] = {UInt32(i + 1), GetFragment(_candidates[i].hash)};
    }
    _slots = std::move(slots);
}

}  // namespace talvo
