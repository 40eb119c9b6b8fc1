// Test hooks: points where a test can end the process at once, as a power cut or `kill -9`
// would, to prove that every interruption is recovered. They are read from the environment and
// are not part of the tool's documented interface.
//
//   TNPKG_TEST_CRASH_IN_JOURNAL=N  ends the process after N old pages went into the journal
//                                  (0: right after the journal file was created)
//   TNPKG_TEST_CRASH_AFTER=N       ends the process after N pages were written into the image
//                                  (0: right after the journal is on the disk)
//
// A failing disk is os/WriteFault.h's TNPKG_TEST_FAIL_WRITE.
#pragma once

namespace tnpkg::store {

enum class CrashHook { InJournal, AfterPages };

/// Ends the process when the hook's variable is set to `count`.
void CrashPoint(CrashHook hook, long count);

}  // namespace tnpkg::store
