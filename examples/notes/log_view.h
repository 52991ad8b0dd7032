#pragma once

#include <gtk/gtk.h>

#include "ztk/log/log.h"

/// A target of the library's log that keeps what is logged in a buffer, for any text view to show.
/// The log owns the target once it is active.
class LogView : public ZTKLog {
 public:
  LogView() : m_buffer(gtk_text_buffer_new(nullptr)) {}
  ~LogView() override { g_object_unref(m_buffer); }

  GtkTextBuffer* GetBuffer() const { return m_buffer; }

  void DoLogString(const char* text) override;

 private:
  GtkTextBuffer* m_buffer;
};
