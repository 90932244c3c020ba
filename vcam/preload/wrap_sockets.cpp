// Local sockets at a camera's paths.
#include "vcam/camera/camera_paths.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/socket_path.h"
#include "vcam/preload/world_socket.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace {

// The address to use in place of a caller's: the same, or one in the camera's directory.
class CameraAddress {
public:
    CameraAddress(const sockaddr *address, socklen_t length) : address_(address), length_(length) {
        const SocketPath path(address, length);
        if (cameraDir() == nullptr || !isCameraPath(path.get())) {
            return;
        }
        const std::size_t placed = socketAddressOf(cameraDir(), cameraDirFd(), path.get(), &own_);
        address_ = placed > 0 ? reinterpret_cast<const sockaddr *>(&own_) : nullptr;
        length_ = static_cast<socklen_t>(placed);
    }

    // False, with errno set: its place in the directory fits no address. Nothing else will do.
    bool fits() const {
        errno = address_ != nullptr ? errno : ENAMETOOLONG;
        return address_ != nullptr;
    }

    const sockaddr *get() const { return address_; }
    socklen_t length() const { return length_; }

private:
    sockaddr_un own_ = {};
    const sockaddr *address_;
    socklen_t length_;
};

} // namespace

INTERPOSE(int, bind, (int fd, const sockaddr *address, socklen_t length)) {
    const CameraAddress camera(address, length);
    return camera.fits() ? static_cast<int>(syscall(SYS_bind, fd, camera.get(), camera.length()))
                         : -1;
}

INTERPOSE(int, connect, (int fd, const sockaddr *address, socklen_t length)) {
    const CameraAddress camera(address, length);
    return camera.fits() ? connectSocket(fd, camera.get(), camera.length()) : -1;
}

INTERPOSE(ssize_t, sendto,
          (int fd, const void *data, std::size_t size, int flags, const sockaddr *address,
           socklen_t length)) {
    if (address == nullptr) {
        return syscall(SYS_sendto, fd, data, size, flags, nullptr, 0);
    }
    const CameraAddress camera(address, length);
    return camera.fits() ? syscall(SYS_sendto, fd, data, size, flags, camera.get(), camera.length())
                         : -1;
}
