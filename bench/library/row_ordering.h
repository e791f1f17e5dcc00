// The ordering of rows by name, apart from the rest of a search.
#pragma once

#include "bench/measure.h"

namespace talvo::bench {

/// `count` rows with the ranks of their names, put in order; the peer is one pass over the ranks that puts each row into its place.
Comparison CompareOrdering(Int runs, Int count);

}  // namespace talvo::bench
