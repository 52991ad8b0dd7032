#include "examples/notes/finder.h"

Finder::Finder(GtkWidget* bar, GtkWidget* entry, GtkWidget* view)
    : m_bar(bar), m_entry(entry), m_view(GTK_TEXT_VIEW(view)) {
  const auto on = [this](const char* signal, void (*act)(Finder*)) {
    g_signal_connect_swapped(m_entry, signal, G_CALLBACK(act), this);
  };
  on("changed", [](Finder* self) { self->Find(kHere); });
  on("activate", [](Finder* self) { self->Find(kNext); });
  on("next-match", [](Finder* self) { self->Find(kNext); });
  on("previous-match", [](Finder* self) { self->Find(kBefore); });
  on("stop-search", [](Finder* self) {
    gtk_widget_hide(self->m_bar);
    gtk_widget_grab_focus(GTK_WIDGET(self->m_view));
  });
}

void Finder::Show() {
  gtk_widget_show(m_bar);
  gtk_widget_grab_focus(m_entry);  // Selects what was looked for the last time.
}

void Finder::Find(Where where) {
  GtkTextBuffer* const buffer = gtk_text_view_get_buffer(m_view);
  const char* const wanted = gtk_entry_get_text(GTK_ENTRY(m_entry));
  GtkTextIter start;
  GtkTextIter end;
  gtk_text_buffer_get_selection_bounds(buffer, &start, &end);
  const auto search =
      where == kBefore ? gtk_text_iter_backward_search : gtk_text_iter_forward_search;
  const auto flags =
      static_cast<GtkTextSearchFlags>(GTK_TEXT_SEARCH_TEXT_ONLY | GTK_TEXT_SEARCH_CASE_INSENSITIVE);
  GtkTextIter from = where == kNext ? end : start;
  bool found = *wanted != '\0' && search(&from, wanted, flags, &start, &end, nullptr);
  if (!found && *wanted != '\0') {
    where == kBefore ? gtk_text_buffer_get_end_iter(buffer, &from)
                     : gtk_text_buffer_get_start_iter(buffer, &from);
    found = search(&from, wanted, flags, &start, &end, nullptr) != FALSE;
  }
  GtkStyleContext* const style = gtk_widget_get_style_context(m_entry);
  gtk_style_context_remove_class(style, GTK_STYLE_CLASS_ERROR);
  if (!found && *wanted != '\0') gtk_style_context_add_class(style, GTK_STYLE_CLASS_ERROR);
  if (!found) return;
  gtk_text_buffer_select_range(buffer, &start, &end);
  gtk_text_view_scroll_mark_onscreen(m_view, gtk_text_buffer_get_insert(buffer));
}
