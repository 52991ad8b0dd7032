#include "ztk/system/internal/file_dialog_xp.h"

int ZTKFileDLG::XPShowModal() {
  return ZTKShowFileDialog(*this, m_path, m_nFilterIndex) ? DLG_OK : DLG_CANCEL;
}
