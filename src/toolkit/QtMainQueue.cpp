#include "toolkit/QtMainQueue.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

namespace zun {

namespace {

// Qt's timers cannot wait longer than a good three weeks; later than this is asked again.
constexpr std::chrono::hours longestWait(24 * 7);

void startTimer(QObject* context, std::chrono::microseconds delay, Block block) {
    if (delay <= longestWait) {
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(delay), Qt::PreciseTimer, context,
                           std::move(block));
        return;
    }
    QTimer::singleShot(longestWait, Qt::PreciseTimer, context,
                       [context, delay, block = std::move(block)] { startTimer(context, delay - longestWait, block); });
}

}  // namespace

QtMainQueue::QtMainQueue() : _context(new QObject(QCoreApplication::instance())) {}

void QtMainQueue::async(Block block) {
    QMetaObject::invokeMethod(_context, std::move(block), Qt::QueuedConnection);
}

void QtMainQueue::asyncAfter(std::chrono::microseconds delay, Block block) {
    if (delay <= std::chrono::microseconds::zero()) {
        async(std::move(block));
    } else if (isCurrent()) {
        startTimer(_context, delay, std::move(block));
    } else {
        async([context = _context, delay, block = std::move(block)] { startTimer(context, delay, block); });
    }
}

bool QtMainQueue::isCurrent() const {
    return QThread::currentThread() == _context->thread();
}

}  // namespace zun
