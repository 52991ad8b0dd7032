#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/foundation/arrays.h"
#include "ztk/foundation/string.h"

/// Style flags of ZTKFileDLG.
enum : unsigned int {
  FD_OPEN = 0x01,        ///< Choose an existing file; without it the dialog asks for a save name.
  FD_SAVE = 0x02,        ///< The default title is "Save file".
  FD_SAVE_AS = 0x04,     ///< The default title is "Save as", unless FD_SAVE is set too.
  FD_CHANGE_DIR = 0x40,  ///< The chosen directory becomes the working directory.
};

/// Results of ZTKFileDLG::ShowModal.
enum : int {
  DLG_OK = 5100,      ///< A file was chosen.
  DLG_CANCEL = 5101,  ///< The user cancelled, or the dialog could not be shown.
};

/// What a running dialog's callbacks know. One upper-cased pattern list for each filter, in order.
struct OpenUserDataRec {
  int32_t bSave = 0;
  int32_t nFilter = 0;
  ZTKString description;  ///< Of the filter that is selected when the dialog starts.
  ZTKString directory;
  ZTKStringArray patterns;
};

/// The modal dialog that asks for one file: to open, or a name to save under.
///
///     ZTKFileDLG dialog(nullptr, FD_OPEN, "Images|*.png;*.jpg|All files|*.*|", "", "", "");
///     if (dialog.ShowModal() == DLG_OK) Load(dialog.GetPath());
///
/// The filter text is a row of "description|pattern list|" pairs; see ParseExtension(). Arguments
/// are copied; the parent is only stored. Cancelling, and every failure, leave all fields as they
/// were. A back end (file_dialog_backend.h) that is looked for when needed shows the dialog;
/// without one, or without a display, ShowModal() returns DLG_CANCEL at once and prints nothing.
/// Timers keep firing meanwhile. Always the same thread.
class ZTK_API ZTKFileDLG {
 public:
  /// The title is `message`, or else the style's: "Save file", "Save as", "Open file" for any other
  /// (so for style 0, which is a save dialog).
  ZTKFileDLG(void* pParent, unsigned long nStyle, const ZTKString& wildcard,
             const ZTKString& message, const ZTKString& directory, const ZTKString& fileName);
  virtual ~ZTKFileDLG();

  /// Shows the dialog and waits for its end. After DLG_OK the path, the directory, the file name
  /// and (when there are filters) the filter index are those of the choice. Else DLG_CANCEL.
  virtual int ShowModal();

  /// Sets the directory and the file name to the parts of `path`; the path field stays.
  void SplitFullPath(const ZTKString& path);

  /// Do nothing: the dialog chooses one file, which GetPath() and GetFilename() give.
  void GetPaths(ZTKStringArray& paths) const;
  void GetFilenames(ZTKStringArray& names) const;

  /// Whether ShowModal() could show a dialog now; `text` names its back end, or says why not. May
  /// load the back end and connect to the display.
  static bool QueryBackEnd(ZTKString& text);

  const ZTKString& GetTitle() const noexcept { return m_title; }
  unsigned long GetStyle() const noexcept { return m_nStyle; }
  void* GetParent() const noexcept { return m_pParent; }
  const ZTKString& GetDirectory() const noexcept { return m_directory; }
  /// The full path of the last choice, "" before the first.
  const ZTKString& GetPath() const noexcept { return m_path; }
  const ZTKString& GetFilename() const noexcept { return m_fileName; }
  const ZTKString& GetWildcard() const noexcept { return m_wildcard; }
  /// The filter selected at the start, then the one selected at the last choice; −1 at first.
  int GetFilterIndex() const noexcept { return m_nFilterIndex; }
  /// An index out of range selects the first filter.
  void SetFilterIndex(int nIndex) noexcept { m_nFilterIndex = nIndex; }

 protected:
  /// Runs the platform's dialog; on DLG_OK the path (and the filter index) are set.
  int XPShowModal();

 private:
  friend struct ZTKSystemLayout;

  ZTKString m_title;
  uint32_t m_nStyle;
  void* m_pParent;  // Borrowed, never used.
  ZTKString m_directory;
  ZTKString m_path;
  ZTKString m_fileName;
  ZTKString m_wildcard;
  int32_t m_nFilterIndex = -1;
};

/// Reads a filter text and adds its filters to the two arrays, patterns upper-cased.
///
/// The last character of the text is always dropped first, deliberately:
///
///     Text|*.txt;*.log|All|*.*|    Text: *.TXT;*.LOG    All: *.*
///     Text|*.txt                   Text: *.TX
///     All|*.*                      All: *.              (shows no file)
///
/// Reading ends at an empty description, and at one that no "|" follows. Null means "".
ZTK_API void ParseExtension(const char* pszWildcard, ZTKStringArray& descriptions,
                            ZTKStringArray& patterns);

/// Takes the first item off a pattern list, with the ";" behind it, and returns its extension: the
/// item without one leading "*" and then one leading ".".
///
///     *.png;*.jpg -> png, leaving *.jpg      *.* -> *      * -> (empty)      notes.* -> notes.*
ZTK_API ZTKString ExtractExtension(ZTKString& patterns);

/// Whether the selected filter shows the file: one of its items is "*" or equals the file's
/// extension, in any case of ASCII letters. Empty items match nothing. Without a record or without
/// patterns every file is shown; a filter index out of range means the first. The extension is the
/// text after the last "." if that lies behind the last native separator. `path` is not changed.
ZTK_API bool CheckFile(ZTKString& path, const OpenUserDataRec* pRec);

/// What choosing filter `nIndex` does: it becomes the selected one (an index past the end changes
/// nothing), and in a save dialog the name follows it. Returns true when `saveName` was changed:
/// cut before its last "." (unless that is its first character), with "." and the filter's first
/// extension, in lower case, in place. An extension that is empty or "*" leaves the name.
ZTK_API bool ZTKChooseFilter(OpenUserDataRec& rec, unsigned long nIndex, ZTKString& saveName);
