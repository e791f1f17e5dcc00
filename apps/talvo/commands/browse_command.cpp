#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/search_host.h"
#include "apps/talvo/terminal.h"
#include "kernel/app/run_loop.h"

#include <algorithm>
#include <mutex>

namespace talvo {

namespace {

/// What the terminal shows: taken from the browser's thread, shown by the main one.
class Screen {
public:
    struct Line {
        std::string text;
        AssetDescription asset;
    };
    Result<Data> Take(Int stage, const Data& parent, const BuildEntryRecord& record) {
        const std::lock_guard lock(_lock);
        const Int64* depth = parent.GetPtr<Int64>();
        const Int level = depth ? *depth : 0;
        if (stage == BUILD_STAGE::ROOT) _coming.clear();
        if (stage == BUILD_STAGE::ROW && _coming.size() < MOST_LINES) {
            std::string text(std::size_t(2 * level), ' ');
            text += (record.isMarked ? "* " : "") + std::string(record.name.GetView());
            if (record.subtitle.IsPopulated()) text += "  (" + std::string(record.subtitle.GetView()) + ")";
            _coming.push_back({std::move(text), record.asset});
        }
        if (stage == BUILD_STAGE::ROW && record.asset) ++_count;
        if (stage == BUILD_STAGE::ROOT) _count = 0;
        _hasChanged = true;
        return Data(Int64(stage == BUILD_STAGE::ROW ? level + 1 : 0));
    }
    /// @return false if there is nothing new.
    Bool Get(std::vector<Line>& lines, Int& count) {
        const std::lock_guard lock(_lock);
        if (!std::exchange(_hasChanged, false)) return false;
        lines = _coming;
        count = _count;
        return true;
    }

private:
    static constexpr std::size_t MOST_LINES = 1000;
    std::mutex _lock;
    std::vector<Line> _coming;
    Int _count = 0;
    Bool _hasChanged = true;
};

class BrowseCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"browse", "Look for assets as you type.", "talvo browse shelf",
                "Type a filter; the arrows choose a row, Enter shows it, Ctrl-C leaves."};
    }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddList("REPO", _paths, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(SearchHost::OpenAll(_paths, options));
        Opt<AssetDescription> chosen;
        {
            const std::unique_ptr<Terminal> terminal = TRY(Terminal::Open());
            chosen = TRY(Browse(repository, *terminal));
        }
        if (chosen && *chosen) TRY(WriteStored(output, *chosen));
        return EXIT_CODE::DONE;
    }

private:
    /// @return the asset that was chosen, or nothing.
    Result<Opt<AssetDescription>> Browse(const AssetRepositoryRef& repository, Terminal& terminal) {
        Screen screen;
        const AssetBrowserRef browser = TRY(AssetBrowserInterface::Create(ASSET_BROWSE_MODE::ASSET_LIST));
        const NodesGraphModelRef graph = TRY(CreateRepositoryGraphModel(repository));
        TRY(browser->SetGraphModel(graph));
        TRY(browser->SetBuildEntryDelegate([&](const AssetBrowserRef&, Int stage, const Data&, const Data& parent,
                                               const BuildEntryRecord& record) { return screen.Take(stage, parent, record); }));
        browser->EnableUpdates(true);
        std::vector<Screen::Line> lines;
        std::string text;
        Int count = 0;
        Int chosen = 0;
        for (;;) {
            RunLoop::RunPendingJobs();
            constexpr Int FRAME = 15;  // milliseconds
            const Terminal::Key key = terminal.ReadKey(FRAME);
            const Bool isNew = screen.Get(lines, count);
            if (key.kind == Terminal::Key::KIND::NONE && !isNew) continue;
            if (key.kind == Terminal::Key::KIND::LEAVE) return Opt<AssetDescription>();
            if (key.kind == Terminal::Key::KIND::ENTER && chosen < Int(lines.size()) && lines[std::size_t(chosen)].asset)
                return Opt<AssetDescription>(lines[std::size_t(chosen)].asset);
            if (ChangeText(key, text)) {
                browser->DoFiltering(String(), String(), String(), String(text), false, false);
                chosen = 0;
            }
            if (key.kind == Terminal::Key::KIND::DOWN) ++chosen;
            if (key.kind == Terminal::Key::KIND::UP) --chosen;
            chosen = std::clamp(chosen, Int(0), std::max(Int(0), Int(lines.size()) - 1));
            Show(terminal, text, count, lines, chosen);
        }
    }
    static Bool ChangeText(const Terminal::Key& key, std::string& text) {
        if (key.kind == Terminal::Key::KIND::TEXT) text += key.text;
        if (key.kind != Terminal::Key::KIND::BACKSPACE) return key.kind == Terminal::Key::KIND::TEXT;
        while (!text.empty() && (UChar(text.back()) & 0xc0) == 0x80) text.pop_back();
        if (!text.empty()) text.pop_back();
        return true;
    }
    static void Show(Terminal& terminal, const std::string& text, Int count, const std::vector<Screen::Line>& lines, Int chosen) {
        std::vector<std::string> shown = {"> " + text, std::to_string(count) + " assets"};
        const Int room = std::max(Int(1), terminal.GetHeight() - Int(shown.size()));
        const Int first = std::max(Int(0), chosen - room + 1);
        const Int marked = Int(shown.size()) + chosen - first;
        for (Int i = first; i < Int(lines.size()) && i < first + room; ++i) shown.push_back(lines[std::size_t(i)].text);
        terminal.Show(shown, marked);
    }

    std::vector<std::string> _paths;
};

}  // namespace

std::unique_ptr<Command> MakeBrowseCommand() { return std::make_unique<BrowseCommand>(); }

}  // namespace talvo
