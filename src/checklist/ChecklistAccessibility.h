#pragma once

namespace zun {

// Lets assistive technology see the check buttons of checklists; done by the first of them.
void installChecklistAccessibility();

}  // namespace zun
