#pragma once

// The main loops that the timer benchmarks compare, all behind the same few operations:
// a `Loop` runs until it is told to quit, a `Loop::Timer` repeats every so many milliseconds.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "ztk/system/timer.h"

#ifdef ZTK_BENCH_UV
#include <uv.h>
#endif
#ifdef ZTK_BENCH_ASIO
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#endif
#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QBasicTimer>
#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>
#include <QTimerEvent>
#endif

namespace timer_peers {

inline std::int64_t SteadyNow() {
  return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

/// What every timer calls: counts, and ends the loop when enough timers have fired.
class Firings {
 public:
  void Expect(long nMore, std::function<void()> quit) {
    m_left = nMore;
    m_quit = std::move(quit);
  }
  /// Keeps the time of each firing from here on.
  void Record(std::vector<std::int64_t>* pTimes) { m_pTimes = pTimes; }
  void Fired() {
    if (m_pTimes != nullptr) m_pTimes->push_back(SteadyNow());
    if (--m_left == 0) m_quit();
  }

 private:
  long m_left = 0;
  std::function<void()> m_quit;
  std::vector<std::int64_t>* m_pTimes = nullptr;
};

class ZtkLoop {
 public:
  static constexpr bool kMergesMissed = true;
  class Timer final : public ZTKTimer {
   public:
    Timer(ZtkLoop& /*loop*/, Firings& firings) : m_firings(firings) {}
    void Start(unsigned nPeriodMs) { ZTKTimer::Start(nPeriodMs, 0); }
    void Notify() override { m_firings.Fired(); }

   private:
    using ZTKTimer::Start;
    Firings& m_firings;
  };
  void Run() { ZTKEventLoop::Main().Run(); }
  void Quit() { ZTKEventLoop::Main().Quit(); }
  void Settle() {}  // What has to be done now and then outside Run().
};

#ifdef ZTK_BENCH_UV
class UvLoop {
 public:
  static constexpr bool kMergesMissed = false;
  class Timer {
   public:
    Timer(UvLoop& loop, Firings& firings) : m_loop(loop), m_firings(firings) {
      uv_timer_init(&loop.m_loop, &m_timer);
      m_timer.data = this;
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() {
      uv_close(reinterpret_cast<uv_handle_t*>(&m_timer), nullptr);
      uv_run(&m_loop.m_loop, UV_RUN_NOWAIT);
    }
    void Start(unsigned nPeriodMs) {
      uv_timer_start(
          &m_timer, [](uv_timer_t* t) { static_cast<Timer*>(t->data)->m_firings.Fired(); },
          nPeriodMs, nPeriodMs);
    }
    void Stop() { uv_timer_stop(&m_timer); }

   private:
    UvLoop& m_loop;
    Firings& m_firings;
    uv_timer_t m_timer = {};
  };
  UvLoop() { uv_loop_init(&m_loop); }
  UvLoop(const UvLoop&) = delete;
  UvLoop& operator=(const UvLoop&) = delete;
  ~UvLoop() { uv_loop_close(&m_loop); }
  void Run() { uv_run(&m_loop, UV_RUN_DEFAULT); }
  void Quit() { uv_stop(&m_loop); }
  void Settle() { uv_update_time(&m_loop); }

 private:
  uv_loop_t m_loop = {};
};
#endif

#ifdef ZTK_BENCH_ASIO
class AsioLoop {
 public:
  static constexpr bool kMergesMissed = false;
  class Timer {
   public:
    Timer(AsioLoop& loop, Firings& firings) : m_firings(firings), m_timer(loop.m_context) {}
    void Start(unsigned nPeriodMs) {
      m_period = std::chrono::milliseconds(nPeriodMs);
      m_timer.expires_after(m_period);
      Wait();
    }
    void Stop() { m_timer.cancel(); }

   private:
    void Wait() {
      m_timer.async_wait([this](const boost::system::error_code& error) {
        if (error) return;
        m_timer.expires_at(m_timer.expiry() + m_period);
        Wait();
        m_firings.Fired();
      });
    }
    Firings& m_firings;
    boost::asio::steady_timer m_timer;
    std::chrono::milliseconds m_period{};
  };
  void Run() {
    m_context.restart();
    m_context.run();
  }
  void Quit() { m_context.stop(); }
  /// A cancelled wait still has its handler called.
  void Settle() {
    m_context.restart();
    m_context.poll();
  }

 private:
  boost::asio::io_context m_context{1};
};
#endif

#ifdef ZTK_BENCH_GLIB
class GlibLoop {
 public:
  static constexpr bool kMergesMissed = false;
  class Timer {
   public:
    Timer(GlibLoop& /*loop*/, Firings& firings) : m_firings(firings) {}
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() { Stop(); }
    void Start(unsigned nPeriodMs) {
      m_source = g_timeout_add(
          nPeriodMs,
          [](gpointer self) -> gboolean {
            static_cast<Timer*>(self)->m_firings.Fired();
            return G_SOURCE_CONTINUE;
          },
          this);
    }
    void Stop() {
      if (m_source != 0) g_source_remove(m_source);
      m_source = 0;
    }

   private:
    Firings& m_firings;
    guint m_source = 0;
  };
  GlibLoop() : m_loop(g_main_loop_new(nullptr, FALSE)) {}
  GlibLoop(const GlibLoop&) = delete;
  GlibLoop& operator=(const GlibLoop&) = delete;
  ~GlibLoop() { g_main_loop_unref(m_loop); }
  void Run() { g_main_loop_run(m_loop); }
  void Quit() { g_main_loop_quit(m_loop); }
  void Settle() {}

 private:
  GMainLoop* m_loop;
};
#endif

#ifdef ZTK_BENCH_QT
class QtLoop {
 public:
  static constexpr bool kMergesMissed = false;
  class Timer : public QObject {
   public:
    Timer(QtLoop& /*loop*/, Firings& firings) : m_firings(firings) {}
    void Start(unsigned nPeriodMs) {
      m_timer.start(static_cast<int>(nPeriodMs), Qt::PreciseTimer, this);
    }
    void Stop() { m_timer.stop(); }

   protected:
    void timerEvent(QTimerEvent* /*pEvent*/) override { m_firings.Fired(); }

   private:
    Firings& m_firings;
    QBasicTimer m_timer;
  };
  QtLoop() {
    static int argc = 1;
    static char name[] = "timer_bench";
    static char* argv[] = {name, nullptr};
    if (QCoreApplication::instance() == nullptr) new QCoreApplication(argc, argv);
    m_loop = std::make_unique<QEventLoop>();
  }
  void Run() { m_loop->exec(); }
  void Quit() { m_loop->quit(); }
  void Settle() {}

 private:
  std::unique_ptr<QEventLoop> m_loop;
};
#endif

}  // namespace timer_peers
