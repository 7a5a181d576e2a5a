// Files that fail while they are read. The test program is linked with --wrap
// for fread and ftell.
#ifndef TESTS_FIRMWARE_FILE_FAULTS_H
#define TESTS_FIRMWARE_FILE_FAULTS_H

namespace file_faults {

/// The next read on this thread comes up one byte short.
void ShortenNextRead();
/// The nth question for a position on this thread from now on fails.
void FailNthTell(int nth);

}  // namespace file_faults

#endif
