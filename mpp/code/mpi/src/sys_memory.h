// The descriptor of physical memory.
#pragma once

// Closes "/dev/mem" if it is open. Returns the result of the close.
int sysMemoryClose();
