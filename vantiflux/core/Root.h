#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/platform/tarsil/DynamicLibrary.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

/// The one namespace at the top of the process's tree. Made and enabled when the library is loaded, so that what is
/// added to it comes alive at once; destroyed when the process exits.
///
/// *Threads.* The root lock is the outermost of all locks. Whoever walks the tree, keeps pointers into it or makes
/// changes in several steps holds it; the flow of data never takes it. Readers exclude each other too: the two names
/// say what the caller means to do.
///
/// *Plug-ins.* Libraries are unloaded before the tree is destroyed. A host that uses plug-ins calls `clear` before it
/// exits.
class VANTIFLUX_API Root final : public Namespace {
public:
  /// Ends the process with a message on standard error when there is no root: during static destruction.
  static Root& the() {
    if (!initialized_)
      failUninitialized();
    return *the_;
  }

  // Of the class, not the object: who waits for the lock may get it when the root has gone with the process.
  static void readLock() TARSIL_ACQUIRE(mutex());
  static void writeLock() TARSIL_ACQUIRE(mutex());
  static void unlock() TARSIL_RELEASE(mutex());

  /// The namespace behind a path of labels with "/" between them; this one for the empty path. Throws
  /// InvalidNamespaceException for a part that is missing or empty. The caller holds the root lock.
  Namespace* getNamespaceFromPath(const std::string& path);

  /// Keeps a library loaded for as long as the root lives.
  void addLibrary(std::unique_ptr<Tarsil::DynamicLibrary> library);

  /// Held by who looks.
  class TARSIL_SCOPED_CAPABILITY ReadLock {
  public:
    ReadLock() TARSIL_ACQUIRE(mutex()) {
      the();
      readLock();
    }
    ~ReadLock() TARSIL_RELEASE() { unlock(); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;
  };

  /// Held by who changes.
  class TARSIL_SCOPED_CAPABILITY WriteLock {
  public:
    WriteLock() TARSIL_ACQUIRE(mutex()) {
      the();
      writeLock();
    }
    ~WriteLock() TARSIL_RELEASE() { unlock(); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;
  };

private:
  friend struct RootHolder;
  friend class Namespace;
  friend class Node;

  Root();
  ~Root() override;

  /// Sees to it that the root goes before whatever static initialisers have made so far, the node types above all.
  static void goFirstAtExit();

  static Tarsil::Mutex& mutex() noexcept;
  [[noreturn]] static void failUninitialized();

  /// How often the root lock has been released to anybody.
  static std::atomic<std::uint64_t> releases_;
  static Root* the_;
  static std::atomic<bool> initialized_; ///< written by the thread that loads the library, and by the one that exits

  std::vector<std::unique_ptr<Tarsil::DynamicLibrary>> libraries_; ///< guarded by the lock of structure
};

} // namespace Vantiflux
