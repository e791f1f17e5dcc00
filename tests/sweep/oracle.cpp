#include "tests/sweep/oracle.h"

#include "asset_module.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace talvo::sweep {

namespace {

using PROBLEM = RepositoryFinding::PROBLEM;

RepositoryState ReadFreshInChild(const World& world) {
    const ChildEnd end = RunChild([&](const Teller& teller) {
        for (const std::string& line : Need(ReadFresh(world)).ToLines()) teller.Tell(line);
    });
    if (!end.hasFinished) GiveUp("a reading without faults failed: " + end.how);
    return RepositoryState::FromLines(end.lines);
}

/// Where two states differ first.
std::string Compare(const RepositoryState& found, const RepositoryState& expected) {
    for (std::size_t i = 0; i < std::max(found.versions.size(), expected.versions.size()); ++i) {
        const std::string first = i < found.versions.size() ? found.versions[i] : "(nothing)";
        const std::string second = i < expected.versions.size() ? expected.versions[i] : "(nothing)";
        if (first == second) continue;
        const auto differs = std::mismatch(first.begin(), first.end(), second.begin(), second.end()).first - first.begin();
        const std::size_t start = std::size_t(std::max<std::ptrdiff_t>(differs - 100, 0));
        const auto show = [&](const std::string& text) { return "..." + text.substr(std::min(start, text.size()), 300); };
        return "\n      found    " + show(first) + "\n      expected " + show(second);
    }
    return {};
}

}  // namespace

Result<RepositoryState> ReadFresh(const World& world) {
    Session session(world);
    const AssetRepositoryRef repository = TRY(session.Open());
    return RepositoryState::Read(repository);
}

Oracle::Oracle(World& world, const Workload& workload) : _world(world), _workload(workload) {
    const ChildEnd prepared = RunChild([&](const Teller&) {
        Session session(world);
        if (workload.opening == Workload::OPENING::BEFORE_FAULTS) Need(session.Open());
        for (const Step& step : workload.before) Need(step(session));
    });
    if (!prepared.hasFinished) GiveUp(workload.name + " can't be prepared: " + prepared.how);
    _world.Keep();
    _surroundings = _world.DescribeSurroundings();
    for (std::size_t count = 0; count <= workload.steps.size(); ++count) {
        _world.Reset();
        const ChildEnd run = RunChild([&](const Teller&) {
            Session session(world);
            for (std::size_t i = 0; i < count; ++i) Need(workload.steps[i](session));
        });
        if (!run.hasFinished) GiveUp(workload.name + " fails without faults: " + run.how);
        _states.push_back(ReadFreshInChild(_world));
    }
    _world.Reset();
}

std::vector<std::string> Oracle::CheckState(const RepositoryState& state, Int acknowledged) const {
    const RepositoryState& before = GetState(acknowledged);
    const RepositoryState& after = GetState(std::min(acknowledged + 1, GetStepCount()));
    std::vector<std::string> wrong;
    if (!state.HasSameVersions(before) && !state.HasSameVersions(after)) {
        wrong.push_back("the state is neither that of before the step" + Compare(state, before) + "\n    nor that of after it" +
                        Compare(state, after));
    }
    // They can't change in one step with the content, so each of them is looked at alone.
    for (const std::string& line : state.user) {
        const Bool stays = _workload.usersValuesMayStay && GetState(0).user.contains(line);
        if (!stays && !before.user.contains(line) && !after.user.contains(line))
            wrong.push_back("a value of the user came from nowhere: " + line);
    }
    for (const std::string& line : before.user) {
        const Bool isUntouched = !before.HasSameVersions(after) && state.HasSameVersions(before);
        const Bool mustStay = after.user.contains(line) || isUntouched;
        if (mustStay && !state.user.contains(line)) wrong.push_back("a value of the user is lost: " + line);
    }
    for (const std::string& line : state.derived) {
        if (!before.derived.contains(line) && !after.derived.contains(line))
            wrong.push_back("a derived value came from nowhere: " + line);
    }
    return wrong;
}

std::vector<std::string> Oracle::Check(Int acknowledged) const {
    std::vector<std::string> wrong;
    if (_world.DescribeSurroundings() != _surroundings) wrong.push_back("something beside the repository was touched");
    const ChildEnd inspected = RunChild([&](const Teller& teller) { Inspect(teller, acknowledged); });
    wrong.insert(wrong.end(), inspected.lines.begin(), inspected.lines.end());
    if (!inspected.hasFinished) wrong.push_back("the check of the repository: " + inspected.how);
    if (_world.DescribeSurroundings() != _surroundings) wrong.push_back("a further use touched something beside the repository");
    return wrong;
}

void Oracle::Inspect(const Teller& teller, Int acknowledged) const {
    const Result<RepositoryState> state = ReadFresh(_world);
    if (state.IsError()) {
        teller.Tell("it can't be read any more: " + state.GetError()->GetMessage());
        return;
    }
    std::vector<std::string> wrong = CheckState(state.GetValue(), acknowledged);
    for (const auto& more : {CheckFurtherStore(state.GetValue()), CheckFurtherStart(), CheckLeftovers()})
        wrong.insert(wrong.end(), more.begin(), more.end());
    for (const std::string& each : wrong) teller.Tell(each);
}

/// Stores once more: no number may now stand for other bytes, and nothing that was there may have changed.
std::vector<std::string> Oracle::CheckFurtherStore(const RepositoryState& before) const {
    std::vector<std::string> wrong;
    for (const std::string& aid : {std::string("a"), std::string("entirely-new")}) {
        Session session(_world);
        const Result<void> stored = session.Store(aid, "other.bin");
        if (stored.IsError()) wrong.push_back("a store after it failed: " + stored.GetError()->GetMessage());
    }
    const Result<RepositoryState> after = ReadFresh(_world);
    if (after.IsError()) return {"it can't be read after a further store: " + after.GetError()->GetMessage()};
    for (const auto& [number, content] : before.numbers) {
        const auto found = after.GetValue().numbers.find(number);
        const std::string now = found == after.GetValue().numbers.end() ? "(nothing)" : found->second;
        if (now != content) wrong.push_back("number " + number + " held " + content + " and holds now " + now);
    }
    if (after.GetValue().numbers.size() != before.numbers.size() + 2)
        wrong.push_back("two further stores didn't give two versions");
    return wrong;
}

/// The module starts, and its user's repository is sound and can be stored in.
std::vector<std::string> Oracle::CheckFurtherStart() const {
    if (!_workload.startsModule) return {};
    std::vector<std::string> wrong;
    const auto use = [&]() -> Result<void> {
        TRY(AssetModule::Start());
        const AssetRepositoryRef& user = AssetInterface::GetUserPrefsRepository();
        const Asset file = TRY(Session(_world).GetFile("one.txt"));
        TRY(user->StoreAsset("further"_id, file, nullptr));
        AssetModule::Stop();
        const Url root = _world.GetUrl("home/generated/net.talvo.asset/userrepository");
        TRY(RepositoryMaintenance::CollectGarbage(root, RepositoryMaintenance::GC_MODE::REMOVE, -1,
                                                  [](const auto&) -> Result<Bool> { return true; }));
        TRY(RepositoryMaintenance::Verify(root, 1, [&](const RepositoryFinding& finding) -> Result<Bool> {
            wrong.push_back("the user's repository: " + ToText(finding.path.ToString()) + ": " + ToText(finding.explanation));
            return true;
        }));
        return OK;
    };
    const Result<void> used = use();
    if (used.IsError()) wrong.push_back("a further start: " + used.GetError()->GetMessage());
    return wrong;
}

/// A check of the repository finds leftovers at most, all hidden names are ours, and a sweep removes them.
std::vector<std::string> Oracle::CheckLeftovers() const {
    std::vector<std::string> wrong;
    const auto verify = [&](Bool swept) {
        const auto checked =
            RepositoryMaintenance::Verify(_world.GetRoot(), 1, [&](const RepositoryFinding& finding) -> Result<Bool> {
                const Bool isLeftover = finding.problem == PROBLEM::LEFTOVER;
                if (!isLeftover || swept)
                    wrong.push_back("verify: " + ToText(finding.path.ToString()) + ": " + ToText(finding.explanation));
                return true;
            });
        if (checked.IsError()) wrong.push_back("verify: " + checked.GetError()->GetMessage());
    };
    verify(false);
    const Result<void> swept = RepositoryMaintenance::CollectGarbage(_world.GetRoot(), RepositoryMaintenance::GC_MODE::REMOVE, -1,
                                                                     [](const auto&) -> Result<Bool> { return true; });
    if (swept.IsError()) wrong.push_back("gc: " + swept.GetError()->GetMessage());
    std::vector<std::string> foreign;
    for (const std::string& left : _world.ListHidden(foreign)) wrong.push_back("gc left " + left);
    for (const std::string& name : foreign) wrong.push_back("a hidden name that isn't ours: " + name);
    verify(true);
    return wrong;
}

}  // namespace talvo::sweep
