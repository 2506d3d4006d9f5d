#pragma once

// The bar that comes up from the list's lower edge while several reminders are selected: complete them, or delete them.
// Owned by its parent widget. Main thread.

#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNView.h"

namespace zun {

class BulkActionsBar final : public ZNView {
    Q_OBJECT
  public:
    static constexpr int height = 50;

    BulkActionsBar(Pictures& pictures, ZNAnimationTimeline& animations, const LocalizedStrings& strings,
                   QWidget* parent);

    // Slides it in or out of sight.
    void setShown(bool shown);
    [[nodiscard]] bool isShown() const { return _bottom.value() == 0; }
    // Without the button for completing, the other stands in the middle.
    void setOffersCompleting(bool offers);
    // To be called when the parent has another size.
    void place();
    [[nodiscard]] ZNButton& bulkDeleteButton() const { return *_bulkDeleteButton; }
    [[nodiscard]] ZNButton& bulkCompleteButton() const { return *_bulkCompleteButton; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void layOut();

    ZNAnimationTimeline& _animations;
    ZNButton* _bulkCompleteButton;
    ZNButton* _bulkDeleteButton;
    AnimatedValue _bottom{AnimatedValue::Kind::Movement, height};  // how far below its place
    Observation _frames;
};

}  // namespace zun
