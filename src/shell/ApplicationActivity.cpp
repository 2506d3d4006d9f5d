#include "shell/ApplicationActivity.h"

namespace zun {

void ApplicationActivity::follow(Qt::ApplicationState state) {
    _rest.invalidate();
    if (state == Qt::ApplicationActive) {
        if (_isHere) return;
        _isHere = true;
        emit becameActive();
    } else if (_isHere) {
        _rest = NSTimer(_dispatch.main(), restDelay, false, [this] {
            _isHere = false;
            emit resignedActive();
        });
    }
}

}  // namespace zun
