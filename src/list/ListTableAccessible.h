#pragma once

// The table of the list as assistive technology sees it: a list whose items are made when they are asked for, one for
// each row, by the reminder's identifier, so that an item stays the same while rows come and go around it. What appears
// only under the pointer is offered as actions. Main thread.

namespace zun {

class ZNListTableView;

// Done by the first table.
void installListTableAccessibility();
// The table has other rows: items of those that have gone are no more.
void accessibleRowsDidChange(ZNListTableView& table);
// The keyboard is at another row.
void accessibleFocusDidMove(ZNListTableView& table);

}  // namespace zun
