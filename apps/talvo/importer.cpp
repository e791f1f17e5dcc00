#include "apps/talvo/importer.h"

#include "apps/talvo/signals.h"
#include "apps/talvo/store_file.h"

#include <algorithm>
#include <chrono>

namespace talvo {

Importer::Importer(AssetRepositoryRef repository, const std::vector<ImportItem>& items, Options options)
    : _repository(std::move(repository)), _items(items), _options(std::move(options)), _outcomes(items.size()) {}

Result<AssetDescription> Importer::Store(const ImportItem& item) const {
    return CatchOutOfMemory([&]() -> Result<AssetDescription> {
        FileToStore file;
        file.id = TRY(_options.id ? Result<Id>(*_options.id) : AssetInterface::MakeUuid("file", true));
        file.source = item.url;
        file.sourceName = item.name;
        file.name = _options.name;
        return StoreFile(_repository, file);
    });
}

void Importer::Work() {
    while (!Signals::IsInterrupted()) {
        const std::size_t index = _next++;
        if (index >= _items.size()) break;
        Result<AssetDescription> outcome = Store(_items[index]);
        const std::lock_guard lock(_lock);
        _outcomes[index] = std::move(outcome);
        _changed.notify_one();
    }
    const std::lock_guard lock(_lock);
    _working--;
    _changed.notify_one();
}

void Importer::Run(OutcomeReceiver receiver, FunctionRef<void()> wait) {
    std::vector<std::jthread> threads;
    _working = std::min<Int>(_options.threads, Int(_items.size()));
    for (Int i = _working; i > 0; i--) threads.emplace_back([this] { Work(); });

    std::unique_lock lock(_lock);
    for (std::size_t i = 0; i < _items.size();) {
        if (_outcomes[i]) {
            const Result<AssetDescription> outcome = *std::exchange(_outcomes[i], {});
            lock.unlock();
            receiver(_items[i++], outcome);
            lock.lock();
        } else if (_working == 0) {
            break;  // interrupted: items are begun in order, so that nothing stored lies behind this one
        } else if (_changed.wait_for(lock, std::chrono::milliseconds(200)) == std::cv_status::timeout) {
            lock.unlock();
            wait();
            lock.lock();
        }
    }
}

}  // namespace talvo
