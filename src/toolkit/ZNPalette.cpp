#include "toolkit/ZNPalette.h"

#include "toolkit/Tokens.h"

namespace zun {

QPalette appPalette() {
    const auto color = [](QRgb value) { return QColor::fromRgba(value); };
    QPalette palette(color(tokens::controlGround), color(tokens::dialogGround));
    palette.setColor(QPalette::WindowText, color(tokens::dialogText));
    palette.setColor(QPalette::Text, color(tokens::dialogText));
    palette.setColor(QPalette::ButtonText, color(tokens::dialogText));
    palette.setColor(QPalette::Base, color(tokens::cardGround));
    palette.setColor(QPalette::AlternateBase, color(tokens::dialogGround));
    palette.setColor(QPalette::PlaceholderText, color(tokens::cardPlaceholder));
    palette.setColor(QPalette::Highlight, color(tokens::selection));
    palette.setColor(QPalette::HighlightedText, color(tokens::groundText));
    palette.setColor(QPalette::Link, color(tokens::cardLink));
    palette.setColor(QPalette::ToolTipBase, color(tokens::dialogText));
    palette.setColor(QPalette::ToolTipText, color(tokens::groundText));
    const QColor disabled = color(tokens::disabledText);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText})
        palette.setColor(QPalette::Disabled, role, disabled);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, color(tokens::dialogGround));
    return palette;
}

}  // namespace zun
