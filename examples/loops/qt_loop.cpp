// A Qt program watches the descriptor with a socket notifier.

#include <QCoreApplication>
#include <QSocketNotifier>

#include "examples/loops/countdown.h"

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  QSocketNotifier timers(ZTKEventLoop::Main().GetFd(), QSocketNotifier::Read);
  QObject::connect(&timers, &QSocketNotifier::activated, [] { ZTKEventLoop::Main().Dispatch(); });

  Countdown countdown(3, [] { QCoreApplication::quit(); });
  if (!countdown.Start(50, 0)) return 1;
  return QCoreApplication::exec();
}
