// Opening what the stream needs.
#include "src/voxo/stream.h"

#include "audioout/audioout.h"
#include "base/unique_fd.h"
#include "src/voxo/config.h"

#include <fcntl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

constexpr AudioOutParam outputParam = {
    .aoDevId = 0, .aoChn = 0, .iSamprate = 8000, .iSampfmt = 16, .iSamp_frmPt = 640};
constexpr mode_t socketMode = 0666;

bool bindTo(int fd, const char *path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t length = strnlen(path, sizeof address.sun_path - 1);
    std::memcpy(address.sun_path, path, length);
    return bind(fd, reinterpret_cast<const sockaddr *>(&address),
                static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length)) == 0;
}

UniqueFd makeSocket() {
    UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (fd.get() >= FD_SETSIZE) { // could not be waited for
        fd.reset();
        errno = EMFILE;
    }
    return fd;
}

} // namespace

int voxoOpenDevice(VoxoContext *context) {
    if (context->decoder.fourCC != codeG711) {
        std::puts("Sorry, current only support G711");
        return -1;
    }
    G711Dec_GetOps(&context->decoder);
    context->audioOut = outputParam;
    const AudioOutParam &output = context->audioOut;
    const std::int32_t opened = audioout_open(output.aoDevId, output.aoChn, output.iSamprate,
                                              output.iSampfmt, output.iSamp_frmPt);
    UniqueFd fd(voxoCreateStreamSocket(context->socketPath));
    if (!fd || opened != 0) {
        std::printf("%s:%d: Open device fail ( Socket %d)\n", kSourceFile, __LINE__, fd.get());
        return -1;
    }
    context->streamFd = fd.release();
    voxoSetVolume(context);
    return 0;
}

int voxoCreateStreamSocket(const char *path) {
    if (path[0] == '\0') {
        return -1;
    }
    unlink(path);
    UniqueFd fd = makeSocket();
    if (!fd || !bindTo(fd.get(), path) || chmod(path, socketMode) != 0) {
        std::printf("cannot create %s (%d).%s\n", path, errno, std::strerror(errno));
        return -1;
    }
    fcntl(fd.get(), F_SETFL, O_NONBLOCK);
    return fd.release();
}
