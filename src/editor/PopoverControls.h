#pragma once

// What the editor's popovers build their rows with. Main thread.

#include <QLabel>

#include "editor/IntervalInput.h"
#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/PlainControls.h"

namespace zun {

inline constexpr int popoverMargin = 16;
// What the rows of the editor leave free at both sides for the rings and round buttons that reach beyond them.
inline constexpr int sectionSideRoom = 8;

// A small label of the popovers' colour, spoken with the control it belongs to and not by itself.
[[nodiscard]] QLabel* makePopoverLabel(const QString& text, QWidget* parent);
[[nodiscard]] IntervalInput* makeIntervalInput(const LocalizedStrings& strings, QWidget* parent);
// Where the interface's lines begin, whatever the direction of the label's own words.
void alignToLayout(QLabel& label, Qt::Alignment vertical = Qt::AlignVCenter);
// Gives the rows these texts and selects one, without telling of a change; rows that are the same already stay.
void setRows(ZNPopUpButton& selector, const QStringList& texts, int selected);
// The rectangle as it lies when reading begins at the left, mirrored where it does not.
void placeInParent(QWidget& child, const QRect& leftToRight);

}  // namespace zun
