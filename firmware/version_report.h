// The file that tells the television the camera's version.
#ifndef TORVIK_FIRMWARE_VERSION_REPORT_H
#define TORVIK_FIRMWARE_VERSION_REPORT_H

/// Logs the version and writes it to the report file. `version` has the six
/// bytes of the firmware version command.
void WriteVersionReport(const unsigned char* version);

#endif
