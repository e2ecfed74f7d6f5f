// Where the store lies in a destination, for tests that are not about its names.
#pragma once

#include <string>

#include "fileop/KvDiskNames.h"

inline const std::string kStore = std::string(kBackupStoreName) + "/";
inline const std::string kRecordFile = kStore + kBackupRecordName;
