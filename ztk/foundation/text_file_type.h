#pragma once

/// The line end of a line of text. The values are stored and compared.
enum ZTKTextFileType : int {
  EOL_NONE = 0,  ///< No line end, as after a last line that is not terminated.
  EOL_UNIX = 1,  ///< LF
  EOL_DOS = 2,   ///< CR LF
  EOL_MAC = 3,   ///< CR
};
