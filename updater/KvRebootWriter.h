// Registration of a copy that waits for the next restart of the machine.
#pragma once

// Would register one entry of the reboot list with the operating system. There is no such register
// on this platform: always 0, nothing is written; callers only log the entry. A null or empty
// `source` stands for a deletion of `target`.
int writeReboot(const char* source, const char* target, char marker);
