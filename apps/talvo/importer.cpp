#include "apps/talvo/importer.h"

#include "apps/talvo/signals.h"
#include "apps/talvo/store_file.h"

#include <algorithm>
#include <chrono>

namespace talvo {

namespace {

constexpr std::chrono::milliseconds PAUSE(10);

}  // namespace

Importer::Importer(AssetRepositoryRef repository, const std::vector<ImportItem>& items, const ImportPlan& plan, Options options)
    : _repository(std::move(repository)), _items(items), _plan(plan), _options(std::move(options)), _outcomes(items.size()) {}

Result<Importer::Outcome> Importer::Store(const ImportItem& item, const ImportPlanItem& plan) const {
    return CatchOutOfMemory([&]() -> Result<Outcome> {
        Outcome outcome;
        AssetDescription known;
        if (_options.id) {
            known = TRY(_repository->FindLatestAsset(Id(), *_options.id, Id(), ASSET_FIND_MODE::WITHOUT_BASES));
            if (known) outcome.state = IMPORT_STATE::UPDATED;
        } else if (plan.candidates) {
            known = TRY(plan.candidates->Choose(item.url, outcome.state));
        }
        if (outcome.state == IMPORT_STATE::UNCHANGED) {
            outcome.description = known;
            return outcome;
        }
        FileToStore file;
        if (_options.id) {
            file.id = *_options.id;
        } else {
            file.id = TRY(known ? Result<Id>(known->GetIdAndVersion().first) : AssetInterface::MakeUuid("file", true));
        }
        file.source = item.url;
        file.sourceName = item.name;
        file.name = _options.name;
        file.category = plan.category;
        file.subtype = plan.subtype;
        outcome.description = TRY(StoreFile(_repository, file));
        return outcome;
    });
}

void Importer::Work() {
    while (!Signals::IsInterrupted()) {
        const std::size_t index = _next++;
        if (index >= _items.size()) break;
        Result<Outcome> outcome = Store(_items[index], _plan.Get(index));
        const std::lock_guard lock(_lock);
        _outcomes[index] = std::move(outcome);
    }
    const std::lock_guard lock(_lock);
    if (--_working == 0) _ended.notify_one();
}

void Importer::Run(OutcomeReceiver receiver, FunctionRef<void()> wait) {
    std::vector<std::jthread> threads;
    _working = std::min<Int>(_options.threads, Int(_items.size()));
    for (Int i = _working; i > 0; i--) threads.emplace_back([this] { Work(); });

    // Looked after now and then: to be woken for each of thousands of small files costs more than storing some of them.
    std::unique_lock lock(_lock);
    for (std::size_t next = 0;;) {
        const Bool ended = _working == 0;
        next = HandOut(next, receiver, lock);
        if (next == _items.size() || ended)
            break;  // interrupted: items are begun in order, so that nothing stored lies behind this one
        if (_working > 0) _ended.wait_for(lock, PAUSE);
        lock.unlock();
        wait();
        lock.lock();
    }
}

std::size_t Importer::HandOut(std::size_t next, OutcomeReceiver receiver, std::unique_lock<std::mutex>& lock) {
    for (; next < _items.size() && _outcomes[next]; next++) {
        const Result<Outcome> outcome = *std::exchange(_outcomes[next], {});
        lock.unlock();
        receiver(_items[next], outcome);
        lock.lock();
    }
    return next;
}

}  // namespace talvo
