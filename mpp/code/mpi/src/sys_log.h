// The descriptor of the log device.
#pragma once

// Closes "/dev/logmpp" if it is open. Returns the result of the close.
int sysLogClose();
