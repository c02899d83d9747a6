// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace nimbara {
namespace net {

/// A reference to the shared library that this code lies in: while it is held, unloading the
/// library leaves its code in place. All operations take the loader's lock, so no other lock may be
/// held. Holds nothing where the code is part of the program itself, which is never unloaded.
class LibraryHold {
 public:
  LibraryHold();
  /// Not for a thread whose code would go with the library: see `EndWithThread`.
  ~LibraryHold();
  LibraryHold(const LibraryHold&) = delete;
  LibraryHold& operator=(const LibraryHold&) = delete;

  /// Hands the reference over to the calling thread, which gives it up as it ends, when it runs no
  /// more code of the library.
  void EndWithThread();

  /// Leaves the library in place for the rest of the process.
  void Keep() { handle_ = nullptr; }

 private:
  void* handle_;
};

/// Keeps the curl library mapped for the rest of the process. A name look-up that was given up goes
/// on in a thread of curl's own, which nobody can wait for.
void KeepCurlMapped();

}  // namespace net
}  // namespace nimbara
