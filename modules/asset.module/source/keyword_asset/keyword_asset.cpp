#include "keyword_asset.h"

#include "asset_types/contentless_asset.h"
#include "kernel/app/log.h"
#include "kernel/thread/locks.h"

#include <algorithm>
#include <array>

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;

/// Reading a list and writing it are one step for each asset. Observers are called under the lock, as the store calls them.
LockClass KEYWORD_LOCK{"keywords of an asset", LOCK_FLAGS::IO | LOCK_FLAGS::CALLBACKS};

class ListLock {
public:
    explicit ListLock(const Id& aid) {
        // From inside of an observer of its own change, a thread would wait for itself.
        if (isInside) return;
        _lock = &GetLocks()[aid.GetWord() % STRIPES].lock;
        _lock->WriteLock();
        isInside = true;
    }
    ~ListLock() {
        if (!_lock) return;
        isInside = false;
        _lock->WriteUnlock();
    }
    ListLock(const ListLock&) = delete;
    ListLock& operator=(const ListLock&) = delete;

private:
    static constexpr std::size_t STRIPES = 16;
    struct Stripe {
        ARWLock lock{KEYWORD_LOCK};
    };
    static std::array<Stripe, STRIPES>& GetLocks() {
        static std::array<Stripe, STRIPES> locks;
        return locks;
    }
    static thread_local Bool isInside;
    ARWLock* _lock = nullptr;
};

thread_local Bool ListLock::isInside = false;

struct KeywordList {
    InternedId key;
    KIND kind;
};

KeywordList GetList(Bool userScope) {
    return userScope ? KeywordList{InternedId(ASSETMETADATA::USERKEYWORDS), KIND::PERSISTENT | KIND::USER}
                     : KeywordList{InternedId(ASSETMETADATA::KEYWORDS), KIND::PERSISTENT};
}

Result<BaseArray<Id>> ReadList(const AssetDescription& target, const KeywordList& list) {
    Opt<BaseArray<Id>> keywords = TRY(target->GetMetaData().Get<BaseArray<Id>>(list.key));
    return keywords ? std::move(*keywords) : BaseArray<Id>();
}

Bool Contains(const BaseArray<Id>& keywords, const Id& keywordId) {
    return std::find(keywords.begin(), keywords.end(), keywordId) != keywords.end();
}

Result<void> CheckTarget(const AssetDescription& target) {
    return target ? Result<void>(OK) : NullptrError::Create("There is no asset to put a keyword on.");
}

void CountKeywordUsage(const AssetRepositoryRef& repository, const Id& keywordId) {
    const auto count = [&]() -> Result<void> {
        const AssetDescription keyword =
            TRY(repository->FindLatestAsset(ASSETTYPE_KEYWORD, keywordId, Id(), ASSET_FIND_MODE::LATEST));
        return keyword ? CountAssetUsage(keyword) : Result<void>(OK);
    };
    const Result<void> counted = CatchOutOfMemory(count);
    if (counted.IsError())
        Log(LOG_LEVEL::WARNING, "The use of keyword @ is not counted: @", keywordId, counted.GetError()->GetMessage());
}

}  // namespace

Result<KeywordAsset> KeywordAssetInterface::Create() { return CreateContentlessAsset<KeywordAssetInterface>(ASSETTYPE_KEYWORD); }

Result<Bool> KeywordAssetInterface::AddKeyword(const AssetDescription& target, const Id& keywordId, Bool userScope,
                                               const AssetRepositoryRef& updateUsageRepository) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        TRY(CheckTarget(target));
        {
            const ListLock lock(target->GetIdAndVersion().first);
            const Id holder = TRY(HasKeyword(target, keywordId));
            if (holder.IsPopulated()) return false;
            const KeywordList list = GetList(userScope);
            BaseArray<Id> keywords = TRY(ReadList(target, list));
            TRY(keywords.Append(keywordId));
            TRY(target.StoreMetaData(list.key, Data(std::move(keywords)), list.kind));
        }
        if (updateUsageRepository) CountKeywordUsage(updateUsageRepository, keywordId);
        return true;
    });
}

Result<Bool> KeywordAssetInterface::RemoveKeyword(const AssetDescription& target, const Id& keywordId, Bool userScope) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        TRY(CheckTarget(target));
        const ListLock lock(target->GetIdAndVersion().first);
        const KeywordList list = GetList(userScope);
        BaseArray<Id> keywords = TRY(ReadList(target, list));
        const auto found = std::find(keywords.begin(), keywords.end(), keywordId);
        if (found == keywords.end()) return false;
        keywords.Erase(found - keywords.begin());
        TRY(target.StoreMetaData(list.key, keywords.IsEmpty() ? Data() : Data(std::move(keywords)), list.kind));
        return true;
    });
}

Result<Id> KeywordAssetInterface::HasKeyword(const AssetDescription& target, const Id& keywordId) {
    return CatchOutOfMemory([&]() -> Result<Id> {
        TRY(CheckTarget(target));
        for (const Bool userScope : {true, false}) {
            const KeywordList list = GetList(userScope);
            const BaseArray<Id> keywords = TRY(ReadList(target, list));
            if (Contains(keywords, keywordId)) return list.key.GetId();
        }
        return Id();
    });
}

Bool KeywordAssetInterface::IsFavouriteAsset(const AssetDescription& ad) {
    return HasKeyword(ad, KEYWORD_FAVOURITE).GetValueOr(Id()).IsPopulated();
}

Result<void> CountAssetUsage(const AssetDescription& asset) {
    return CatchOutOfMemory([&]() -> Result<void> {
        TRY(CheckTarget(asset));
        const ListLock lock(asset->GetIdAndVersion().first);
        const InternedId key(ASSETMETADATA::USAGE);
        const Opt<AssetUsage> before = TRY(asset->GetMetaData().Get<AssetUsage>(key));
        const Int count = before ? std::get<1>(*before) : 0;
        return asset.StoreMetaData(key, Data(AssetUsage(UniversalDateTime::GetNow(), count + 1)), KIND::PERSISTENT | KIND::USER);
    });
}

}  // namespace talvo
