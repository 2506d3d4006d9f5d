#pragma once

// The picture of the item in the tray. Without a count it is the outline of a card with a tick; with one it is a solid
// card out of which the number is cut, since trays give a square and nothing beside it. One colour, white on dark bars;
// with an edge in the other where nobody says what the bar is like.

#include <QByteArray>
#include <QIcon>
#include <QString>
#include <cstddef>
#include <optional>

#include "toolkit/Pictures.h"

namespace zun {

// "", "1" to "99", "99+".
[[nodiscard]] QString statusItemCountText(std::size_t count);

enum class BarGround { Unknown, Light, Dark };

// What the tray's bar is like. The colour scheme is the desktop's number: 1 prefers dark, 2 light. GNOME's bar is dark
// whatever the scheme.
[[nodiscard]] BarGround barGround(std::optional<unsigned> colorScheme, const QByteArray& currentDesktop);

// In all sizes from 16 to 64 pixels that trays ask for.
[[nodiscard]] QIcon statusItemIcon(std::size_t count, BarGround ground, Pictures& pictures);

}  // namespace zun
