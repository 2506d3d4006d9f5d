#include "shell/ZNTabViewWindowController.h"

namespace zun {
namespace {

constexpr QSize firstSize{430, 540};  // with the tour

}  // namespace

ZNTabViewWindowController::ZNTabViewWindowController(std::unique_ptr<ZNWindow> window, QMenuBar* menuBar,
                                                     const ZNSettingsObject& settings, const MakeRoot& makeRoot)
    : _window(std::move(window)) {
    _window->setMenuBar(menuBar);
    _tabViewController = makeRoot([shown = _window.get()] { return QSizeF(shown->contentRect().size()); });
    setCardControllerAndWindowFrame(settings.defaults().onGetDidFinishTour());
}

void ZNTabViewWindowController::setCardControllerAndWindowFrame(bool didFinishTour) {
    if (didFinishTour) {
        _window->restorePlace();
    } else {
        _window->centre(firstSize);
    }
    _window->setContent(_tabViewController);
}

}  // namespace zun
