// Which assets have a directory in a side tree, so that most versions are loaded without a look in there.
#pragma once

#include "kernel/base/hash_map.h"
#include "kernel/io/url.h"
#include "kernel/thread/locks.h"

#include <string>
#include <string_view>

namespace talvo {

/// Threads: any. What others made there is known after a tenth of a second.
class SideTreeNames {
public:
    /// @param tree empty: nothing is in there.
    explicit SideTreeNames(Url tree) : _tree(std::move(tree)) {}
    /// False only if there is no such directory in the tree.
    Bool MayHave(std::string_view directory);
    /// One was made by us.
    void Add(std::string_view directory);

private:
    struct State {
        Bool isKnown = false;
        Bool isHot = false;  // it was changed so shortly before that its time tells nothing
        Int64 time = 0;      // of the tree's last change
        Int64 looked = 0;    // when
        HashSet<std::string> names;
    };
    void Refresh(State& state) const;

    const Url _tree;
    static LockClass lockClass;
    Guarded<State, ARWLock> _state{lockClass};
};

}  // namespace talvo
