#pragma once

// The topic picture of a reminder as a widget, for lists and screens made of real widgets; inside cards it is part of
// their picture. Hidden from assistive technology. Owned by its parent widget. Main thread.

#include "cards/CardTexts.h"
#include "toolkit/Pictures.h"
#include "toolkit/ZNView.h"

namespace zun {

class ZNCardImageView : public ZNView {
    Q_OBJECT
  public:
    ZNCardImageView(Pictures& pictures, const CardTexts& texts, QWidget* parent = nullptr);

    void onSetReminder(const ReminderPtr& reminder);
    [[nodiscard]] const QString& pictureName() const { return _pictureName; }

    // Paints a picture as large as it fits, centred.
    static void paintPicture(QPainter& painter, Pictures& pictures, const QString& name, const QRectF& rect,
                             double scale);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Pictures& _pictures;
    const CardTexts& _texts;
    QString _pictureName;
};

}  // namespace zun
