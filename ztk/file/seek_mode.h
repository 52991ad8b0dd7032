#pragma once

/// The origin of a seek. Any other value makes a seek fail with -1.
enum ZTKSeekMode : int {
  ZTKFromStart = 0,    ///< The start of the data.
  ZTKFromCurrent = 1,  ///< The current position.
  ZTKFromEnd = 2,      ///< The end of the data.
};
