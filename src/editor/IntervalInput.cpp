#include "editor/IntervalInput.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <array>
#include <functional>

#include "editor/AlertChoices.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr QSize fieldSize(56, tokens::minimumHitSize + 2 * FocusRing::room);
constexpr int stepperWidth = 24;
constexpr double radius = 6;
// More digits than any number that counts has; the rest of a long paste is not worth a look.
constexpr int longestText = 20;

class NumberField final : public QLineEdit {
  public:
    NumberField(std::function<void(int)> step, QWidget* parent) : QLineEdit(parent), _step(std::move(step)) {
        setFont(appFont(13));
        setFrame(false);
        setMaxLength(longestText);
        setAlignment(Qt::AlignCenter);
        setAttribute(Qt::WA_Hover);
        QPalette clear = palette();
        clear.setColor(QPalette::Base, Qt::transparent);
        clear.setColor(QPalette::Text, QColor::fromRgba(tokens::settingsText));
        setPalette(clear);
    }

  protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double room = FocusRing::room;
        const QRectF face = QRectF(rect()).adjusted(room, room, -room, -room);
        painter.setPen(QPen(QColor::fromRgba(tokens::settingsOutline), 1));
        painter.setBrush(QColor::fromRgba(tokens::settingsFieldGround));
        painter.drawRoundedRect(face.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
        _ring.paint(painter, *this, face, radius);
        painter.end();
        QLineEdit::paintEvent(event);
    }
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
            _step(event->key() == Qt::Key_Up ? 1 : -1);
            return;
        }
        QLineEdit::keyPressEvent(event);
    }
    void focusInEvent(QFocusEvent* event) override {
        _ring.focusIn(*event);
        QLineEdit::focusInEvent(event);
    }

  private:
    std::function<void(int)> _step;
    FocusRing _ring;
};

// Half of a stepper. The tab key passes it by: the field's arrow keys do the same.
class StepButton final : public QPushButton {
  public:
    StepButton(bool isUp, const QString& name, QWidget* parent) : QPushButton(parent), _isUp(isUp) {
        setFocusPolicy(Qt::NoFocus);
        setAttribute(Qt::WA_Hover);
        setAutoRepeat(true);
        setAccessibleName(name);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor ground = QColor::fromRgba(tokens::settingsButtonGround);
        if (isDown()) ground = ground.darker(100 + static_cast<int>(100 * tokens::pressedDarken));
        if (!isDown() && underMouse()) ground = ground.darker(100 + static_cast<int>(50 * tokens::hoverLighten));
        painter.setPen(Qt::NoPen);
        painter.setBrush(ground);
        // Rounded where the two halves do not meet.
        painter.setClipRect(rect());
        painter.drawRoundedRect(_isUp ? rect().adjusted(0, 0, 0, 8) : rect().adjusted(0, -8, 0, 0), 5, 5);
        painter.setPen(
            QPen(QColor::fromRgba(tokens::settingsButtonText), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPointF middle = QRectF(rect()).center();
        const double tip = _isUp ? -1.75 : 1.75;
        const std::array chevron = {middle + QPointF(-3.5, -tip), middle + QPointF(0, tip),
                                    middle + QPointF(3.5, -tip)};
        painter.drawPolyline(chevron.data(), static_cast<int>(chevron.size()));
    }

  private:
    bool _isUp;
};

}  // namespace

IntervalInput::IntervalInput(const Texts& texts, QWidget* parent)
    : ZNView(parent),
      _field(new NumberField([this](int by) { step(by); }, this)),
      _up(new StepButton(true, texts.more, this)),
      _down(new StepButton(false, texts.less, this)) {
    setAccessibilityRole(QAccessible::Grouping);
    _field->setAccessibleName(texts.field);
    setValue(1);
    connect(_up, &QAbstractButton::clicked, this, [this] { step(1); });
    connect(_down, &QAbstractButton::clicked, this, [this] { step(-1); });
    // Not only what is typed: assistive technology writes too.
    connect(_field, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text == QString::number(_value)) return;
        setValue(intervalFromText(text.toStdString()));
        emit didChange();
    });
}

void IntervalInput::setValue(std::uint64_t value) {
    _value = clippedInterval(value);
    const QString text = QString::number(_value);
    if (_field->text() != text) _field->setText(text);
}

void IntervalInput::step(int by) {
    setValue(by < 0 ? _value - 1 : _value + 1);
    emit didChange();
}

QSize IntervalInput::sizeHint() const {
    return {fieldSize.width() + stepperWidth, fieldSize.height()};
}

void IntervalInput::resizeEvent(QResizeEvent*) {
    const auto place = [this](QWidget& child, const QRect& leftToRight) {
        child.setGeometry(QStyle::visualRect(layoutDirection(), rect(), leftToRight));
    };
    const int top = FocusRing::room;
    const int inner = height() - 2 * top;
    place(*_field, {0, 0, width() - stepperWidth, height()});
    place(*_up, {width() - stepperWidth, top, stepperWidth - FocusRing::room, inner / 2});
    place(*_down, {width() - stepperWidth, top + inner / 2, stepperWidth - FocusRing::room, inner - inner / 2});
}

}  // namespace zun
