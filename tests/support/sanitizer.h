#pragma once

/// Whether the thread sanitizer runs this program. It keeps a signal back while a thread waits in a
/// call that it watches, so what an interrupted call does cannot be seen under it.
#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif
#else
constexpr bool kThreadSanitizer = false;
#endif
