#pragma once

#include <string>
#include <string_view>

// The tour: each station works on real files under a temporary home, prints what it does, and
// answers whether everything came out as expected.
bool ConfigTour();
bool TextTour();
bool PathTour();
bool StreamTour();
bool TempFileTour();
bool LogTour();
bool TimerTour();
bool ModuleTour();

/// Makes a folder for all that the tour writes, so that no file of the user's is ever touched; ""
/// when that cannot be.
std::string MakeTemporaryHome();

// What the stations share.

/// Whether the library's own paths have colons (Volume:folder:name) instead of slashes.
bool HasColonPaths();

/// The library's own path of a file in the folder that this run of the tour may write to. The
/// folder is gone at the end.
std::string TourFile(std::string_view name);

/// "== Title ==", after a blank line.
void Title(std::string_view title);

/// One line of narration, indented.
void Say(const char* pszFormat, ...) __attribute__((format(printf, 1, 2)));

/// Compares, prints "ok" or what differs, and returns whether both are equal.
bool Expect(std::string_view what, std::string_view actual, std::string_view expected);
bool Expect(std::string_view what, bool actual);

/// The bytes in lines of sixteen, hexadecimal and as text.
void ShowHex(std::string_view bytes);

/// The whole content of a file, by the library's own path; "" when it cannot be read.
std::string FileBytes(const std::string& path);
/// Replaces the content of a file.
void PutFileBytes(const std::string& path, std::string_view bytes);
