#include "examples/notes/history.h"

#include <utility>

namespace {

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t\n") == std::string::npos;
}

int Length(const std::string& text) {
  return static_cast<int>(g_utf8_strlen(text.data(), static_cast<gssize>(text.size())));
}

}  // namespace

History::History(GtkTextBuffer* buffer, std::function<void()> changed)
    : m_buffer(GTK_TEXT_BUFFER(g_object_ref(buffer))), m_changed(std::move(changed)) {
  // Before the buffer changes, while the text that goes is still there.
  g_signal_connect(buffer, "insert-text", G_CALLBACK(OnInsert), this);
  g_signal_connect(buffer, "delete-range", G_CALLBACK(OnDelete), this);
  g_signal_connect_swapped(buffer, "begin-user-action",
                           G_CALLBACK(+[](History* self) { ++self->m_action; }), this);
}

History::~History() {
  g_signal_handlers_disconnect_by_data(m_buffer, this);
  g_object_unref(m_buffer);
}

void History::Clear() {
  m_edits.clear();
  m_next = 0;
  m_changed();
}

void History::Record(Edit edit) {
  if (m_bReplaying) return;
  m_edits.resize(m_next);
  // Letters that follow each other make a word, with the blanks behind it.
  if (!m_edits.empty() && edit.isInsertion && Length(edit.text) == 1) {
    Edit& last = m_edits.back();
    const bool follows = last.isInsertion && last.offset + Length(last.text) == edit.offset;
    const char end = last.text.empty() ? '\n' : last.text.back();
    if (follows && end != '\n' && (end != ' ' || IsBlank(edit.text))) edit.action = last.action;
  }
  m_edits.push_back(std::move(edit));
  m_next = m_edits.size();
  m_changed();
}

void History::Undo() {
  if (!CanUndo()) return;
  m_bReplaying = true;
  const unsigned long action = m_edits[m_next - 1].action;
  while (m_next > 0 && m_edits[m_next - 1].action == action) {
    const Edit& edit = m_edits[--m_next];
    edit.isInsertion ? Remove(edit.offset, edit.text) : Put(edit.offset, edit.text);
  }
  m_bReplaying = false;
  m_changed();
}

void History::Redo() {
  if (!CanRedo()) return;
  m_bReplaying = true;
  const unsigned long action = m_edits[m_next].action;
  while (CanRedo() && m_edits[m_next].action == action) {
    const Edit& edit = m_edits[m_next++];
    edit.isInsertion ? Put(edit.offset, edit.text) : Remove(edit.offset, edit.text);
  }
  m_bReplaying = false;
  m_changed();
}

void History::Put(int offset, const std::string& text) {
  GtkTextIter at;
  gtk_text_buffer_get_iter_at_offset(m_buffer, &at, offset);
  gtk_text_buffer_insert(m_buffer, &at, text.data(), static_cast<int>(text.size()));
  gtk_text_buffer_place_cursor(m_buffer, &at);
}

void History::Remove(int offset, const std::string& text) {
  GtkTextIter start;
  GtkTextIter end;
  gtk_text_buffer_get_iter_at_offset(m_buffer, &start, offset);
  gtk_text_buffer_get_iter_at_offset(m_buffer, &end, offset + Length(text));
  gtk_text_buffer_delete(m_buffer, &start, &end);
  gtk_text_buffer_place_cursor(m_buffer, &start);
}

void History::OnInsert(GtkTextBuffer* /*buffer*/, GtkTextIter* at, gchar* text, gint length,
                       gpointer data) {
  auto* const self = static_cast<History*>(data);
  self->Record(
      {true, gtk_text_iter_get_offset(at), {text, static_cast<size_t>(length)}, self->m_action});
}

void History::OnDelete(GtkTextBuffer* buffer, GtkTextIter* start, GtkTextIter* end, gpointer data) {
  auto* const self = static_cast<History*>(data);
  gtk_text_iter_order(start, end);
  char* const text = gtk_text_buffer_get_text(buffer, start, end, TRUE);
  self->Record({false, gtk_text_iter_get_offset(start), text, self->m_action});
  g_free(text);
}
