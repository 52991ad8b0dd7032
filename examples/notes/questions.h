#pragma once

#include <gtk/gtk.h>

#include <string>

/// What the program asks its user. Each waits for the answer; "" and false mean no.

std::string AskForOpen(GtkWidget* window, const std::string& folder);

/// A name to save under. It gets the extension of the filter that is chosen, unless that filter
/// shows it as it is; and nothing is replaced without a question.
std::string AskForName(GtkWidget* window, const std::string& folder, const std::string& name);

/// Whether to do something that loses data; `act` is what the button says.
bool AskWhether(GtkWidget* window, const std::string& question, const char* act);
