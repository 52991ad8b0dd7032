#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

/// Undo and redo for a text buffer. What one action of the user does is undone in one step; so is a
/// word that is typed.
class History {
 public:
  /// `changed` is told when CanUndo() or CanRedo() may have changed.
  History(GtkTextBuffer* buffer, std::function<void()> changed);
  ~History();
  History(const History&) = delete;
  History& operator=(const History&) = delete;

  bool CanUndo() const { return m_next > 0; }
  bool CanRedo() const { return m_next < m_edits.size(); }
  void Undo();
  void Redo();
  /// The text is a new one.
  void Clear();

 private:
  struct Edit {
    bool isInsertion;
    int offset;  // In characters.
    std::string text;
    unsigned long action;  // Edits of one action have its number in common.
  };

  void Record(Edit edit);
  void Put(int offset, const std::string& text);
  void Remove(int offset, const std::string& text);

  static void OnInsert(GtkTextBuffer* buffer, GtkTextIter* at, gchar* text, gint length,
                       gpointer data);
  static void OnDelete(GtkTextBuffer* buffer, GtkTextIter* start, GtkTextIter* end, gpointer data);

  GtkTextBuffer* m_buffer;
  std::function<void()> m_changed;
  std::vector<Edit> m_edits;
  size_t m_next = 0;  // Those from here on have been undone.
  unsigned long m_action = 0;
  bool m_bReplaying = false;
};
