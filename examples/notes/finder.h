#pragma once

#include <gtk/gtk.h>

/// Finds text in a view, as it is typed into an entry. Case does not matter, and
/// the search goes round. Return and Ctrl+G go to the next place, Ctrl+Shift+G to the one before.
class Finder {
 public:
  Finder(GtkWidget* bar, GtkWidget* entry, GtkWidget* view);
  Finder(const Finder&) = delete;
  Finder& operator=(const Finder&) = delete;

  /// Shows the bar, ready to type.
  void Show();

 private:
  enum Where { kHere, kNext, kBefore };
  void Find(Where where);

  GtkWidget* m_bar;
  GtkWidget* m_entry;
  GtkTextView* m_view;
};
