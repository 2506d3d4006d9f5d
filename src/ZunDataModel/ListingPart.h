#pragma once

#include <vector>

#include "platform/foundation/NSPredicate.h"

namespace zun {

enum class ListingOrder { AsSorted, OfDeck };

// One query of a listing. The deck's order is made from the sorted one.
struct ListingPart {
    NSPredicate predicate;
    std::vector<NSSortDescriptor> sort;
    ListingOrder order = ListingOrder::AsSorted;
};

}  // namespace zun
