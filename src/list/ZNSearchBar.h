#pragma once

// The search field of the list with a button that ends the search. Return and Down leave the field for what was found.
// Owned by its parent widget. Main thread.

#include "cards/ScreenBar.h"
#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNView.h"

class QLineEdit;

namespace zun {

class ZNSearchBar;

class ZNSearchBarDelegate {
  public:
    virtual ~ZNSearchBarDelegate() = default;
    virtual void searchViewTextDidChange(ZNSearchBar& searchBar, const QString& withText) = 0;
    virtual void searchViewDidCancel(ZNSearchBar& searchBar) = 0;
    virtual void searchViewShouldShowResults(ZNSearchBar& searchBar) = 0;
};

class ZNSearchBar final : public ZNView {
    Q_OBJECT
  public:
    static constexpr int height = 34;

    ZNSearchBar(Pictures& pictures, const LocalizedStrings& strings, ZNSearchBarDelegate& delegate, QWidget* parent);

    [[nodiscard]] QLineEdit& searchField() const { return *_searchField; }
    // Empties the field and says so.
    void onClear();
    // What is left in the field ends with the search, so that everything is seen again.
    void onCancel();
    // What field and button need at least.
    [[nodiscard]] int smallestWidth() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    [[nodiscard]] QRect fieldRect() const;

    Pictures& _pictures;
    ZNSearchBarDelegate& _delegate;
    QLineEdit* _searchField;
    ZNButton* _clearButton;
    ZNBarButton* _cancelButton;
};

}  // namespace zun
