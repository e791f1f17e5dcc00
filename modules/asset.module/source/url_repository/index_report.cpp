// What the index of a repository tells, for people.
#include "kernel/io/file_utilities.h"
#include "url_repository/compacted_index.h"
#include "url_repository/database_id.h"
#include "url_repository/index_directory.h"
#include "urlassetrepository.h"

namespace talvo {

Result<RepositoryMaintenance::IndexSummary> RepositoryMaintenance::ReadIndex(const Url& root, Receiver<IndexRangeInfo> receiver) {
    return CatchOutOfMemory([&]() -> Result<IndexSummary> {
        const Opt<Id> id = TRY(ReadDatabaseId(root));
        if (!id) return IllegalArgumentError::Create(FormatMessage("@ is no repository: it has no identifier.", root));
        const Opt<IndexSource> source = TRY(IndexDirectory(root).Find());
        IndexSummary summary;
        summary.scansTree = true;
        if (!source || source->entries.empty()) return summary;
        summary.state = source->isDropped ? IndexSummary::STATE::DROPPED : IndexSummary::STATE::VISIBLE;
        summary.changedAssets = source->changed.GetCount();
        const VersionFileState counter = ReadVersionFile(root);
        const Bool isBehind = counter.exists && (!counter.number || *counter.number > source->entries.front().range.last);
        summary.scansTree = !source->isDropped && isBehind;
        for (const IndexSource::Entry& entry : source->entries) {
            const StrongRef<CompactedIndex> index = TRY(CompactedIndex::Open(entry.directory, entry.range));
            const Int64 bytes = TRY(FileUtilities::GetSize(entry.directory));
            const IndexText& text = index->GetText();
            const Bool goOn = TRY(
                receiver({entry.range.first, entry.range.last, Int(text.GetRecordCount()), Int(text.GetVersionCount()), bytes}));
            if (!goOn) break;
        }
        return summary;
    });
}

}  // namespace talvo
