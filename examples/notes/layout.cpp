#include "examples/notes/layout.h"

#include <initializer_list>

namespace {

constexpr char kStyle[] = R"css(
.note { font-size: 12pt; }
.recent { border-right: 1px solid alpha(currentColor, 0.12); }
.recent list, .recent row { background: transparent; }
.recent row { padding: 8px 12px; border-radius: 6px; margin: 1px 8px; }
.recent row:hover { background: alpha(currentColor, 0.06); }
.recent row:selected { background: alpha(@theme_selected_bg_color, 0.22); color: inherit; }
.heading { font-size: 85%; font-weight: bold; padding: 14px 20px 6px 20px; opacity: 0.55; }
.small { font-size: 85%; }
.find { padding: 8px; border-bottom: 1px solid alpha(currentColor, 0.12); }
.log { font-size: 85%; border-top: 1px solid alpha(currentColor, 0.12); }
.status { padding: 6px 14px; border-top: 1px solid alpha(currentColor, 0.12); font-size: 88%; }
.badge { padding: 1px 10px; border-radius: 10px; background: alpha(currentColor, 0.09); }
)css";

GtkWidget* WithClass(GtkWidget* widget, const char* name) {
  gtk_style_context_add_class(gtk_widget_get_style_context(widget), name);
  return widget;
}

GtkWidget* Named(GtkWidget* widget, const char* name) {
  gtk_widget_set_name(widget, name);
  return widget;
}

GtkWidget* IconButton(GtkWidget* button, const char* icon, const char* tip) {
  gtk_button_set_image(GTK_BUTTON(button),
                       gtk_image_new_from_icon_name(icon, GTK_ICON_SIZE_BUTTON));
  gtk_widget_set_tooltip_text(button, tip);
  return button;
}

GtkWidget* Label(const char* text, const char* style) {
  return WithClass(gtk_label_new(text), style);
}

GtkWidget* LeftLabel(const char* text, const char* style) {
  GtkWidget* const label = Label(text, style);
  gtk_label_set_xalign(GTK_LABEL(label), 0);
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_MIDDLE);
  return label;
}

GtkWidget* Scrolled(GtkWidget* child) {
  GtkWidget* const scrolled = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_container_add(GTK_CONTAINER(scrolled), child);
  return scrolled;
}

void LoadStyle() {
  GtkCssProvider* const provider = gtk_css_provider_new();
  gtk_css_provider_load_from_data(provider, kStyle, -1, nullptr);
  gtk_style_context_add_provider_for_screen(gdk_screen_get_default(), GTK_STYLE_PROVIDER(provider),
                                            GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(provider);
}

GtkWidget* MakeHeader(Layout& layout) {
  GtkWidget* const header = gtk_header_bar_new();
  gtk_header_bar_set_show_close_button(GTK_HEADER_BAR(header), TRUE);
  layout.newButton =
      IconButton(Named(gtk_button_new(), "new"), "document-new-symbolic", "New note");
  layout.openButton = Named(gtk_button_new_with_mnemonic("_Open"), "open");
  layout.undoButton = IconButton(Named(gtk_button_new(), "undo"), "edit-undo-symbolic", "Undo");
  layout.redoButton = IconButton(Named(gtk_button_new(), "redo"), "edit-redo-symbolic", "Redo");
  layout.saveButton = Named(gtk_button_new_with_mnemonic("_Save"), "save");
  WithClass(layout.saveButton, "suggested-action");
  layout.saveAsButton =
      IconButton(Named(gtk_button_new(), "save-as"), "document-save-as-symbolic", "Save as");
  layout.findButton = IconButton(Named(gtk_button_new(), "find"), "edit-find-symbolic", "Find");
  layout.darkButton = IconButton(Named(gtk_toggle_button_new(), "dark"),
                                 "weather-clear-night-symbolic", "Dark colours");
  layout.logButton = IconButton(Named(gtk_toggle_button_new(), "show-log"),
                                "utilities-terminal-symbolic", "Show the log");
  const auto pack = [header](GtkWidget* button, void (*side)(GtkHeaderBar*, GtkWidget*)) {
    gtk_widget_set_focus_on_click(button, FALSE);  // The text keeps it.
    side(GTK_HEADER_BAR(header), button);
  };
  for (GtkWidget* const button :
       {layout.openButton, layout.newButton, layout.undoButton, layout.redoButton}) {
    pack(button, gtk_header_bar_pack_start);
  }
  for (GtkWidget* const button : {layout.saveButton, layout.saveAsButton, layout.findButton,
                                  layout.darkButton, layout.logButton}) {
    pack(button, gtk_header_bar_pack_end);
  }
  return header;
}

GtkWidget* MakeSidebar(Layout& layout) {
  GtkWidget* const box = WithClass(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0), "recent");
  layout.recent = Named(gtk_list_box_new(), "recent");
  GtkWidget* const scrolled = Scrolled(layout.recent);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_NEVER,
                                 GTK_POLICY_AUTOMATIC);
  gtk_box_pack_start(GTK_BOX(box), LeftLabel("Recent notes", "heading"), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(box), scrolled, TRUE, TRUE, 0);
  gtk_widget_set_size_request(box, 230, -1);
  return box;
}

GtkWidget* MakeBar(const char* name, GtkMessageType type, GtkWidget* label) {
  GtkWidget* const bar = Named(gtk_info_bar_new(), name);
  gtk_info_bar_set_message_type(GTK_INFO_BAR(bar), type);
  gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_xalign(GTK_LABEL(label), 0);
  gtk_container_add(GTK_CONTAINER(gtk_info_bar_get_content_area(GTK_INFO_BAR(bar))), label);
  gtk_widget_show_all(bar);
  gtk_widget_hide(bar);
  gtk_widget_set_no_show_all(bar, TRUE);
  return bar;
}

void MakeBars(Layout& layout) {
  layout.recovery = MakeBar("recovery", GTK_MESSAGE_INFO,
                            gtk_label_new("There are changes that were never saved."));
  gtk_info_bar_add_button(GTK_INFO_BAR(layout.recovery), "Discard", GTK_RESPONSE_REJECT);
  gtk_info_bar_add_button(GTK_INFO_BAR(layout.recovery), "Restore", GTK_RESPONSE_ACCEPT);

  layout.troubleText = Named(gtk_label_new(""), "trouble-text");
  layout.trouble = MakeBar("trouble", GTK_MESSAGE_WARNING, layout.troubleText);
  gtk_info_bar_set_show_close_button(GTK_INFO_BAR(layout.trouble), TRUE);
  g_signal_connect(layout.trouble, "response", G_CALLBACK(gtk_widget_hide), nullptr);

  // No GtkSearchBar: that loses what is typed before it has slid in.
  layout.findBar = WithClass(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0), "find");
  layout.findEntry = Named(gtk_search_entry_new(), "find-entry");
  gtk_entry_set_width_chars(GTK_ENTRY(layout.findEntry), 32);
  gtk_box_set_center_widget(GTK_BOX(layout.findBar), layout.findEntry);
  gtk_widget_show(layout.findEntry);
  gtk_widget_set_no_show_all(layout.findBar, TRUE);
}

GtkWidget* MakeText() {
  GtkWidget* const text = WithClass(Named(gtk_text_view_new(), "text"), "note");
  auto* const view = GTK_TEXT_VIEW(text);
  gtk_text_view_set_wrap_mode(view, GTK_WRAP_WORD_CHAR);
  gtk_text_view_set_left_margin(view, 44);
  gtk_text_view_set_right_margin(view, 44);
  gtk_text_view_set_top_margin(view, 30);
  gtk_text_view_set_bottom_margin(view, 30);
  gtk_text_view_set_pixels_below_lines(view, 3);
  gtk_text_view_set_pixels_inside_wrap(view, 3);
  // The first line of a note is its title.
  gtk_text_buffer_create_tag(gtk_text_view_get_buffer(view), "title", "weight", PANGO_WEIGHT_BOLD,
                             "scale", 1.55, "pixels-below-lines", 12, nullptr);
  return text;
}

GtkWidget* MakeLog(GtkTextBuffer* buffer) {
  GtkWidget* const text = Named(gtk_text_view_new_with_buffer(buffer), "log");
  auto* const view = GTK_TEXT_VIEW(text);
  gtk_text_view_set_editable(view, FALSE);
  gtk_text_view_set_cursor_visible(view, FALSE);
  gtk_text_view_set_monospace(view, TRUE);
  gtk_text_view_set_left_margin(view, 14);
  gtk_text_view_set_top_margin(view, 8);
  gtk_text_view_set_bottom_margin(view, 8);
  // What comes last is what is seen.
  g_signal_connect_object(buffer, "changed", G_CALLBACK(+[](GtkTextBuffer* log, gpointer shown) {
                            gtk_text_view_scroll_mark_onscreen(GTK_TEXT_VIEW(shown),
                                                               gtk_text_buffer_get_insert(log));
                          }),
                          view, GConnectFlags{});
  return text;
}

GtkWidget* MakeStatus(Layout& layout) {
  GtkWidget* const box = WithClass(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10), "status");
  layout.encoding = Named(Label("", "badge"), "encoding");
  layout.lineEnds = Named(Label("", "badge"), "line-ends");
  layout.state = Named(Label("", "dim-label"), "state");
  layout.position = Named(Label("", "dim-label"), "position");
  layout.words = Named(Label("", "dim-label"), "words");
  gtk_widget_set_tooltip_text(layout.encoding, "Encoding of the file");
  gtk_widget_set_tooltip_text(layout.lineEnds, "Line ends of the file");
  gtk_box_pack_start(GTK_BOX(box), layout.encoding, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(box), layout.lineEnds, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(box), layout.state, FALSE, FALSE, 6);
  gtk_box_pack_end(GTK_BOX(box), layout.words, FALSE, FALSE, 0);
  gtk_box_pack_end(GTK_BOX(box), layout.position, FALSE, FALSE, 6);
  return box;
}

}  // namespace

Layout::Layout(GtkTextBuffer* log) {
  LoadStyle();
  window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_icon_name(GTK_WINDOW(window), "accessories-text-editor");
  header = MakeHeader(*this);
  gtk_window_set_titlebar(GTK_WINDOW(window), header);

  MakeBars(*this);
  text = MakeText();
  logRevealer = gtk_revealer_new();
  gtk_revealer_set_transition_type(GTK_REVEALER(logRevealer),
                                   GTK_REVEALER_TRANSITION_TYPE_SLIDE_UP);
  GtkWidget* const logPane = WithClass(Scrolled(MakeLog(log)), "log");
  gtk_widget_set_size_request(logPane, -1, 132);
  gtk_container_add(GTK_CONTAINER(logRevealer), logPane);

  GtkWidget* const page = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  for (GtkWidget* const bar : {recovery, trouble, findBar}) {
    gtk_box_pack_start(GTK_BOX(page), bar, FALSE, FALSE, 0);
  }
  gtk_box_pack_start(GTK_BOX(page), Scrolled(text), TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(page), logRevealer, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(page), MakeStatus(*this), FALSE, FALSE, 0);

  GtkWidget* const columns = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
  gtk_box_pack_start(GTK_BOX(columns), MakeSidebar(*this), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(columns), page, TRUE, TRUE, 0);
  gtk_container_add(GTK_CONTAINER(window), columns);
}

GtkWidget* MakeRecentRow(const char* name, const char* folder) {
  GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 1);
  GtkWidget* const below = LeftLabel(folder, "small");
  WithClass(below, "dim-label");
  gtk_container_add(GTK_CONTAINER(box), LeftLabel(name, "name"));
  gtk_container_add(GTK_CONTAINER(box), below);
  gtk_widget_show_all(box);
  return box;
}
