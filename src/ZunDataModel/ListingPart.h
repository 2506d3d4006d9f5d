#pragma once

#include "platform/foundation/NSPredicate.h"

namespace zun {

enum class ListingOrder { AsSorted, OfDeck };

// One query of a listing. It is sorted by a date; equal and absent ones stand as in a fetch with that sort. The deck's
// order is made from the sorted one.
struct ListingPart {
    NSPredicate predicate;
    NSSortDescriptor sort;
    ListingOrder order = ListingOrder::AsSorted;
};

}  // namespace zun
