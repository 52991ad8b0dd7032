#include "examples/notes/log_view.h"

void LogView::DoLogString(const char* text) {
  GtkTextIter end;
  gtk_text_buffer_get_end_iter(m_buffer, &end);
  char* const valid = g_utf8_make_valid(text, -1);
  if (gtk_text_iter_get_offset(&end) != 0) gtk_text_buffer_insert(m_buffer, &end, "\n", 1);
  gtk_text_buffer_insert(m_buffer, &end, g_strchomp(valid), -1);
  g_free(valid);
}
