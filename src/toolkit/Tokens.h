#pragma once

// The one place for colours, measures and durations of the interface. Colours are 0xAARRGGBB, measures logical pixels.

#include <QRgb>
#include <chrono>

namespace zun::tokens {

using std::chrono::milliseconds;

// The ground behind everything, top to bottom, and the toolbar over it.
inline constexpr QRgb groundTop = 0xff6c5f95;
inline constexpr QRgb groundMiddle = 0xff4b3d74;
inline constexpr QRgb groundBottom = 0xff35274f;
inline constexpr QRgb toolbarGround = 0xa628113f;  // 0.65 of #28113F
inline constexpr QRgb toolbarRule = 0x14ffffff;

// Text on the ground; the third only for what may be overlooked.
inline constexpr QRgb groundText = 0xffffffff;
inline constexpr QRgb groundTextSecondary = 0xffdad5ee;  // the ground is lightest at its top
inline constexpr QRgb groundTextTertiary = 0xffa8a3be;

// The card.
inline constexpr QRgb cardGround = 0xffffffff;
inline constexpr QRgb cardTitle = 0xff333333;
inline constexpr QRgb cardNotes = 0xff5c5769;
inline constexpr QRgb cardPlaceholder = 0xffa8a8a8;
inline constexpr QRgb cardLink = 0xff6247a8;
inline constexpr QRgb cardFooter = 0xff7a739a;
inline constexpr QRgb cardDivider = 0x2effffff;     // white, 0.18
inline constexpr QRgb cardFooterEdge = 0x1f2f2a45;  // where the footer's shadow is deepest
inline constexpr QRgb roundButtonGround = 0xfff1f1f1;
inline constexpr double footerIconAlpha = 0.92;

inline constexpr double cardRadius = 5;
inline constexpr double cardFooterRadius = 10;
inline constexpr double roundButtonRadius = 18;
inline constexpr double cardShadowAlpha = 0.35;
inline constexpr double cardShadowOffset = 6;
inline constexpr double cardShadowBlur = 6;
inline constexpr double cardGlowAlpha = 0.10;  // the wide, faint shadow that makes the card float
inline constexpr double cardGlowBlur = 24;
inline constexpr double cardTiltDegrees = 3;  // at the most, while it is pushed aside

// Menus, dialogs and plain controls.
inline constexpr QRgb dialogGround = 0xfff6f4fa;
inline constexpr QRgb dialogText = 0xff2f2a45;
inline constexpr QRgb controlGround = 0xffe9e5f2;
inline constexpr QRgb selection = 0xff6f638f;
inline constexpr QRgb disabledText = 0xffa39eb3;
inline constexpr QRgb messageGround = 0xf228113f;

// The windows of settings and of keys.
inline constexpr QRgb settingsGround = 0xfff5f5f5;  // white, 0.96
inline constexpr QRgb settingsText = 0xff333333;
inline constexpr QRgb settingsTextSecondary = 0xff5c5769;
inline constexpr QRgb settingsOutline = 0xff8e86a5;
inline constexpr QRgb settingsFieldGround = 0xffffffff;
inline constexpr QRgb settingsButtonGround = 0xffe3deef;
inline constexpr QRgb settingsButtonText = 0xff4b3d74;
inline constexpr QRgb accountGoodGround = 0xffe4f0dc;
inline constexpr QRgb accountGoodText = 0xff33561a;
inline constexpr QRgb accountBadGround = 0xfffae3e3;
inline constexpr QRgb accountBadText = 0xff8e1f1f;
inline constexpr QRgb keysGround = 0xffffffff;
inline constexpr QRgb keysHeaderGround = 0xfff5f8f8;
inline constexpr QRgb keysSeparator = 0xfff1f1f1;
inline constexpr QRgb keysText = 0xff333333;
inline constexpr QRgb keysHeadText = 0xff6b6478;
inline constexpr QRgb keysCurrentRowGround = 0xffefebf6;

// Popovers: panels with an arrow inside the window.
inline constexpr QRgb popoverGround = 0xffffffff;
inline constexpr double popoverRadius = 8;
inline constexpr double popoverShadowAlpha = 0.30;
inline constexpr int popoverShadowBlur = 18;
inline constexpr int popoverShadowOffset = 5;
inline constexpr int popoverArrowLength = 9;
inline constexpr int popoverArrowWidth = 20;
inline constexpr int popoverWindowMargin = 6;  // what stays free at the window's edges

// The bar of a screen, on its card or on the ground.
inline constexpr QRgb barTextOnCard = 0xff4b3d74;
inline constexpr int barHeight = 40;
inline constexpr int barTitleSize = 15;

// The calendar beside the cards, on the ground.
inline constexpr QRgb calendarSelected = 0xff322b52;
inline constexpr QRgb calendarTodayText = 0xff7f73a1;
inline constexpr QRgb calendarDivider = 0x1affffff;  // white, 0.1
inline constexpr QRgb calendarZeroState = 0xff9792ad;
inline constexpr QRgb calendarSubtitle = 0xffc4bfda;
inline constexpr QRgb calendarRow = 0x14ffffff;
inline constexpr QRgb calendarRowHover = 0x24ffffff;
inline constexpr double calendarOtherMonthAlpha = 0.4;
inline constexpr double calendarHoverAlpha = 0.10;
inline constexpr double calendarPressedAlpha = 0.18;
inline constexpr double calendarMarkWidth = 1.5;

// Pickers of days, on white.
inline constexpr QRgb pickerOtherMonth = 0xff9a95a8;
inline constexpr QRgb pickerEdge = 0x1f2f2a45;

// How late a date is: as stated for dots and glows, and dark enough to be read as small text on white.
inline constexpr QRgb latenessAhead = 0xff99c16a;
inline constexpr QRgb latenessToday = 0xfffce57d;
inline constexpr QRgb latenessYesterday = 0xffff955b;
inline constexpr QRgb latenessOlder = 0xffe03b3b;
inline constexpr QRgb latenessAheadText = 0xff4d7a26;
inline constexpr QRgb latenessTodayText = 0xff8a6a0a;
inline constexpr QRgb latenessYesterdayText = 0xffb4521a;
inline constexpr QRgb latenessOlderText = 0xffc02c2c;
inline constexpr QRgb latenessNoneText = 0xff736c8c;

// The checklist. Checked items step back.
inline constexpr QRgb checklistCheckedText = 0xffa8a8a8;
inline constexpr QRgb checklistRule = 0xffe9e5f2;
inline constexpr QRgb checklistOpenVeil = 0x1a6f638f;     // over the button under the mouse
inline constexpr QRgb checklistCheckedVeil = 0x1fffffff;  // the same over a filled one

// States of everything that can be pressed.
inline constexpr double hoverLighten = 0.06;
inline constexpr double pressedDarken = 0.08;
inline constexpr double disabledAlpha = 0.40;
inline constexpr QRgb focusRing = 0xffb7a8d9;
inline constexpr double focusRingWidth = 2;
inline constexpr double focusRingGap = 1;

// Lines of text, as multiples of the font's size.
inline constexpr double titleLineHeight = 1.2;
inline constexpr double notesLineHeight = 1.45;
inline constexpr double capsKerning = 2;

// The list.
inline constexpr int listWidestContainer = 780;  // wider lines are harder to read, not easier
inline constexpr QRgb listCellTitle = 0xff333333;
inline constexpr QRgb listCellSubtitle = 0xff919191;
inline constexpr QRgb listSnoozeLabel = 0xff8269a8;
inline constexpr QRgb listSelection = 0xff9a96b6;
inline constexpr double listSelectionRadius = 7;
inline constexpr QRgb listOptionGround = 0xf2f1f1f1;
inline constexpr QRgb listBulkBarGround = 0xff655b7e;
inline constexpr QRgb listFieldGround = 0x29ffffff;
inline constexpr QRgb listFieldGroundFocused = 0x3dffffff;
inline constexpr QRgb listSegmentRule = 0x2effffff;
inline constexpr QRgb listScrollThumb = 0x66ffffff;
inline constexpr QRgb listDropLine = 0xffffffff;
inline constexpr double listDraggedAlpha = 1;  // text under it would mix with its own
inline constexpr double listTitleLineHeight = 1.25;
inline constexpr double listSubtitleLineHeight = 1.4;
inline constexpr milliseconds listSlide{200};  // tables, segments, search bar, bulk bar, rows that close up

// The editor.
inline constexpr QRgb editorTint = 0xff8269a8;  // the selected segment, switches, labels of popovers
inline constexpr QRgb editorWell = 0xfff0edf6;
inline constexpr QRgb editorSwitchOff = 0xffbcb5cb;
inline constexpr QRgb editorRule = 0xffece9f2;
inline constexpr QRgb editorLabel = 0xff5f5580;
inline constexpr QRgb editorValue = 0xff333333;
inline constexpr QRgb editorChipGround = 0xffefeaf8;
inline constexpr QRgb editorChipText = 0xff4b3d74;
inline constexpr milliseconds switchSlide{120};
inline constexpr milliseconds editorHeights{200};

inline constexpr int minimumHitSize = 32;
inline constexpr int minimumTouchSize = 44;

// Motion.
inline constexpr milliseconds renderDuration{250};
inline constexpr milliseconds skipDuration{250};
inline constexpr milliseconds flyOutDuration{350};
inline constexpr milliseconds restoreDuration{350};
inline constexpr milliseconds renderDelay{50};
inline constexpr milliseconds shakePass{70};
inline constexpr milliseconds popoverFade{120};
inline constexpr milliseconds popoverResize{200};
inline constexpr milliseconds reducedFade{80};  // what is left of a render where nothing may move
// A gesture of a device without phases ends when it has rested for this long. Longer feels sticky, shorter cuts slow
// turns in two.
inline constexpr milliseconds wheelRest{150};
inline constexpr milliseconds longPress{500};  // held for this long, a press asks for the menu
inline constexpr std::chrono::microseconds frame{16667};

}  // namespace zun::tokens
