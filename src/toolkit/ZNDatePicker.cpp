#include "toolkit/ZNDatePicker.h"

#include <unicode/dtptngen.h>

#include <QFocusEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QStyleOptionSpinBox>
#include <QWheelEvent>
#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "platform/foundation/NSCalendar.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

using std::chrono::seconds;

constexpr double radius = 6;
constexpr int textMargin = 6;
constexpr double chevronHalfWidth = 3.5;
constexpr double chevronHalfHeight = 1.75;
constexpr double chevronInset = 4;

// The region's order and signs for these fields, in ICU's letters.
icu::UnicodeString regionalPattern(const std::string& localeIdentifier, const char16_t* fields) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale locale(localeIdentifier.c_str());
    locale.setKeywordValue("calendar", "gregorian", status);
    const std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(locale, status));
    if (!generator) return {};
    auto pattern = generator->getBestPattern(fields, status);
    return U_SUCCESS(status) ? pattern : icu::UnicodeString();
}

// What Qt writes for a field of ICU's; empty for one that has no place in a picker.
QString fieldInQt(char16_t letter, int width) {
    const auto withZero = [width](QChar field) { return QString(width > 1 ? 2 : 1, field); };
    switch (letter) {
        case u'y':
            return "yyyy";
        case u'M':
        case u'L':
            return withZero('M');
        case u'd':
            return withZero('d');
        case u'H':
        case u'k':
            return withZero('H');
        case u'h':
        case u'K':
            return withZero('h');
        case u'm':
            return "mm";
        case u'a':
        case u'b':
        case u'B':
            return "AP";
        default:
            return {};
    }
}

QString formatInQt(const icu::UnicodeString& pattern) {
    QString format;
    QString words;
    const auto flushWords = [&] {
        if (!words.isEmpty()) format += '\'' + std::exchange(words, {}) + '\'';
    };
    for (int32_t i = 0; i < pattern.length();) {
        const char16_t letter = pattern[i];
        const bool isField = (letter >= u'a' && letter <= u'z') || (letter >= u'A' && letter <= u'Z');
        if (isField) {
            flushWords();
            const int32_t start = i;
            while (i < pattern.length() && pattern[i] == letter)
                ++i;
            format += fieldInQt(letter, i - start);
            continue;
        }
        if (letter == u'\'') {
            for (++i; i < pattern.length() && pattern[i] != u'\''; ++i)
                words += QChar(pattern[i]);
        } else {
            // Nobody can type the narrow blank.
            words += letter == u'\u202f' ? QChar(' ') : QChar(letter);
        }
        ++i;
    }
    // The sign of an era that was left out leaves a blank at the end.
    words = words.trimmed();
    flushWords();
    return format;
}

QLocale localeInQt(const std::string& identifier) {
    const QLocale locale(QString::fromStdString(identifier.substr(0, identifier.find('@'))));
    // Digits are typed as the keyboard has them.
    return locale.zeroDigit() == u"0" ? locale : QLocale(QLocale::English);
}

}  // namespace

NSDate mergeDateWithTime(NSDate date, NSDate time, const Environment& environment) {
    const auto calendar = NSCalendar::current(environment);
    const auto parts = calendar.components(time);
    return calendar.dateBySettingHour(*parts.hour, *parts.minute, *parts.second, date);
}

ZNDatePicker::ZNDatePicker(const Environment& environment, Elements elements, QWidget* parent)
    : QDateTimeEdit(parent), _environment(environment), _elements(elements), _value(environment.now()) {
    // Qt hides the line that it makes itself from assistive technology, by its name.
    setLineEdit(new QLineEdit(this));
    setFont(appFont(13));
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::NoContextMenu);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    // Figures run from left to right everywhere; mirrored, Qt would write the minutes before the hours.
    setLayoutDirection(Qt::LeftToRight);
    setTimeSpec(Qt::UTC);
    setWrapping(true);
    setAccelerated(true);
    QPalette clear = palette();
    clear.setColor(QPalette::Base, Qt::transparent);
    clear.setColor(QPalette::Text, QColor::fromRgba(tokens::settingsText));
    setPalette(clear);
    lineEdit()->setFrame(false);
    lineEdit()->setTextMargins(textMargin, 0, textMargin, 0);
    connect(this, &QDateTimeEdit::dateTimeChanged, this, &ZNDatePicker::takeChange);
    surroundingsDidChange();
}

void ZNDatePicker::applyFormat() {
    const auto identifier = _environment.locale().formats;
    setLocale(localeInQt(identifier));
    const auto* fields = _elements == Elements::YearMonthDay ? u"yMd" : u"jmm";
    const auto* plain = _elements == Elements::YearMonthDay ? u"y-M-d" : u"HH:mm";
    const auto pattern = regionalPattern(identifier, fields);
    setDisplayFormat(formatInQt(pattern.isEmpty() ? icu::UnicodeString(plain) : pattern));
}

void ZNDatePicker::surroundingsDidChange() {
    _isShowing = true;
    applyFormat();
    _isShowing = false;
    present(_value);
    updateGeometry();
}

QDateTime ZNDatePicker::wallTime(NSDate date) const {
    const auto parts = NSCalendar::current(_environment).components(date);
    return {QDate(*parts.year, *parts.month, *parts.day), QTime(*parts.hour, *parts.minute, *parts.second), Qt::UTC};
}

void ZNDatePicker::present(NSDate value) {
    _value = _minDate ? std::max(value, *_minDate) : value;
    const QDateTime wall = wallTime(_value);
    if (wall == dateTime()) return;
    _isShowing = true;
    setDateTime(wall);
    _isShowing = false;
}

void ZNDatePicker::setDateValue(NSDate value) {
    present(value);
}

void ZNDatePicker::setMinDate(OptionalDate minDate) {
    _minDate = minDate;
    // A day can be chosen as a whole or not at all.
    _isShowing = true;
    if (_elements == Elements::YearMonthDay && minDate) {
        setMinimumDate(wallTime(*minDate).date());
    } else {
        clearMinimumDateTime();
    }
    _isShowing = false;
    present(_value);
}

void ZNDatePicker::takeChange(const QDateTime& wall) {
    if (_isShowing) return;
    const auto calendar = NSCalendar::current(_environment);
    auto parts = calendar.components(_value);
    if (_elements == Elements::YearMonthDay) {
        parts.year = wall.date().year();
        parts.month = wall.date().month();
        parts.day = wall.date().day();
    } else {
        parts.hour = wall.time().hour();
        parts.minute = wall.time().minute();
    }
    NSDateComponents wanted;
    wanted.year = parts.year;
    wanted.month = parts.month;
    wanted.day = parts.day;
    wanted.hour = parts.hour;
    wanted.minute = parts.minute;
    wanted.second = parts.second;
    const auto before = _value;
    present(calendar.dateFromComponents(wanted));
    if (_value != before) emit didChange();
}

// ---- focus, keys, wheel

void ZNDatePicker::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QDateTimeEdit::focusInEvent(event);
    if (!std::exchange(_isActive, true)) emit didBecomeActive();
}

void ZNDatePicker::focusOutEvent(QFocusEvent* event) {
    QDateTimeEdit::focusOutEvent(event);
    const bool isForAWhile = event->reason() == Qt::ActiveWindowFocusReason || event->reason() == Qt::PopupFocusReason;
    if (!isForAWhile && std::exchange(_isActive, false)) emit didResignActive();
}

// Whether a letter that is typed over the half of the day means the other half.
bool ZNDatePicker::meansOtherHalf(const QString& letter) const {
    if (currentSection() != AmPmSection || letter.isEmpty()) return false;
    const bool isAfternoon = time().hour() >= 12;
    const QString here = isAfternoon ? locale().pmText() : locale().amText();
    const QString other = isAfternoon ? locale().amText() : locale().pmText();
    return other.startsWith(letter, Qt::CaseInsensitive) && !here.startsWith(letter, Qt::CaseInsensitive);
}

// Each press goes to the next part; by itself the field would go letter by letter, and wait for a second one behind
// "p".
void ZNDatePicker::keyPressEvent(QKeyEvent* event) {
    if (meansOtherHalf(event->text())) return stepBy(1);
    const bool isSideways = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (!isSideways || (event->modifiers() & ~Qt::KeypadModifier) != 0) return QDateTimeEdit::keyPressEvent(event);
    const int step = event->key() == Qt::Key_Right ? 1 : -1;
    const int part = std::clamp(currentSectionIndex() + step, 0, sectionCount() - 1);
    setCurrentSectionIndex(part);
    setSelectedSection(sectionAt(part));
}

void ZNDatePicker::wheelEvent(QWheelEvent* event) {
    if (hasFocus()) {
        QDateTimeEdit::wheelEvent(event);
    } else {
        event->ignore();
    }
}

void ZNDatePicker::changeEvent(QEvent* event) {
    QDateTimeEdit::changeEvent(event);
    if (event->type() == QEvent::EnabledChange) update();
}

// ---- looks

QSize ZNDatePicker::sizeHint() const {
    const QDateTime widest(QDate(2088, 12, 28), QTime(20, 58), Qt::UTC);
    const QDateTime forenoon(QDate(2088, 12, 28), QTime(10, 58), Qt::UTC);
    int text = 0;
    for (const auto& each : {widest, forenoon})
        text = std::max(text, fontMetrics().horizontalAdvance(locale().toString(each, displayFormat())));
    QStyleOptionSpinBox option;
    initStyleOption(&option);
    option.rect = QRect(0, 0, 200, tokens::minimumHitSize);
    const auto field = style()->subControlRect(QStyle::CC_SpinBox, &option, QStyle::SC_SpinBoxEditField, this);
    // The cursor and the line edit's own margins.
    constexpr int lineEditRoom = 8;
    return {text + 2 * textMargin + lineEditRoom + option.rect.width() - field.width(),
            tokens::minimumHitSize + 2 * FocusRing::room};
}

void ZNDatePicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(tokens::disabledAlpha);
    const QRectF face = QRectF(rect()).adjusted(FocusRing::room, FocusRing::room, -FocusRing::room, -FocusRing::room);
    const QColor ground = QColor::fromRgba(tokens::settingsFieldGround);
    painter.setPen(QPen(QColor::fromRgba(tokens::settingsOutline), 1));
    painter.setBrush(underMouse() && isEnabled() ? ground.darker(103) : ground);
    painter.drawRoundedRect(face.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    _ring.paint(painter, *this, face, radius);

    QStyleOptionSpinBox option;
    initStyleOption(&option);
    const auto middleOf = [&](QStyle::SubControl part) {
        return style()->subControlRect(QStyle::CC_SpinBox, &option, part, this).center().x();
    };
    // The style's arrows stand at the very edge.
    const QPointF middle(middleOf(QStyle::SC_SpinBoxUp) + 0.5 - chevronInset, face.center().y());
    painter.setPen(QPen(QColor::fromRgba(tokens::selection), 1.75, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    for (const double up : {-1.0, 1.0}) {
        const double base = up * 3;
        const std::array chevron = {middle + QPointF(-chevronHalfWidth, base),
                                    middle + QPointF(0, base + up * 2 * chevronHalfHeight),
                                    middle + QPointF(chevronHalfWidth, base)};
        painter.drawPolyline(chevron.data(), static_cast<int>(chevron.size()));
    }
}

}  // namespace zun
