#include "examples/notes/questions.h"

#include "ztk/system/file_dialog.h"

namespace {

constexpr char kFilters[] = "Notes|*.txt;*.md|All files|*.*|";

bool Shows(OpenUserDataRec& filters, int nFilter, const std::string& path) {
  ZTKString checked(path.c_str());
  filters.nFilter = nFilter;
  return CheckFile(checked, &filters);
}

}  // namespace

std::string AskForOpen(GtkWidget* window, const std::string& folder) {
  ZTKFileDLG dialog(window, FD_OPEN, kFilters, "Open a note", folder.c_str(), "");
  return dialog.ShowModal() == DLG_OK ? dialog.GetPath().c_str() : "";
}

std::string AskForName(GtkWidget* window, const std::string& folder, const std::string& name) {
  OpenUserDataRec filters;
  ZTKStringArray descriptions;
  ParseExtension(kFilters, descriptions, filters.patterns);
  ZTKFileDLG dialog(window, FD_SAVE, kFilters, "Save the note", folder.c_str(), name.c_str());
  dialog.SetFilterIndex(Shows(filters, 0, name) ? 0 : 1);
  if (dialog.ShowModal() != DLG_OK) return "";

  std::string path = dialog.GetPath().c_str();
  if (Shows(filters, dialog.GetFilterIndex(), path)) return path;
  ZTKString patterns = filters.patterns.Item(static_cast<unsigned long>(dialog.GetFilterIndex()));
  ZTKString extension = ExtractExtension(patterns);
  extension.MakeLower();
  path.append(".").append(extension.c_str());
  // The dialog has asked for the shorter name only.
  const bool taken = g_file_test(path.c_str(), G_FILE_TEST_EXISTS) != FALSE;
  return !taken || AskWhether(window, path + " exists already. Replace it?", "Replace") ? path : "";
}

bool AskWhether(GtkWidget* window, const std::string& question, const char* act) {
  GtkWidget* const dialog =
      gtk_message_dialog_new(GTK_WINDOW(window), GTK_DIALOG_MODAL, GTK_MESSAGE_WARNING,
                             GTK_BUTTONS_CANCEL, "%s", question.c_str());
  gtk_dialog_add_button(GTK_DIALOG(dialog), act, GTK_RESPONSE_ACCEPT);
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL);
  const bool yes = gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT;
  gtk_widget_destroy(dialog);
  return yes;
}
