// Being asked to end, by a signal, while lives are lived: what they hold is given back first.
#pragma once

// SIGINT, SIGTERM and SIGHUP ask this process to end from here on. Waits are interrupted.
void heedEndRequests();

// Throws a CameraError when that has been asked.
void throwIfEndIsAskedFor();
