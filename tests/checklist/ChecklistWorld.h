#pragma once

// What a checklist view and its card need, over a real store in virtual time.

#include <QApplication>
#include <QWidget>

#include "cards/CardContext.h"
#include "core/ManagerWorld.h"

namespace zun {

class ChecklistWorld : public ManagerWorld {
  public:
    class Texts final : public CardTexts {
      public:
        explicit Texts(const LocalizedStrings& strings) : _strings(strings) {}
        std::string dateText(const ZNReminderObject&) const override { return {}; }
        Lateness lateness(const ZNReminderObject&) const override { return Lateness::None; }
        std::string accessibilityLabel(const ZNReminderObject&) const override { return {}; }
        std::string text(std::string_view key) const override { return _strings.string(key); }
        std::string topicPictureName(const ZNReminderObject&) const override { return {}; }

      private:
        const LocalizedStrings& _strings;
    };

    void advance(std::chrono::milliseconds time) {
        QCoreApplication::processEvents();
        dispatch.advance(time);
        settle();
    }

    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    Texts texts{strings};
    QWidget window;
    CardContext context{
        dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
};

}  // namespace zun
