// Where images lie on the television's file system.

#include "api/firmware_download.h"

char fw_path_name[34] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";
char boot_path_name[34] = "/mtd_rwarea/wiru/bin/TorvikBC.bin";
char exe_fw_path_name[27] = "/mtd_exe/wiru/TorvikFW.bin";
char exe_boot_path_name[27] = "/mtd_exe/wiru/TorvikBC.bin";
