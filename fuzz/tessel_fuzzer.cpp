// Replies of the settings daemon: taken whole or not at all, within their room, and two-way audio
// stops a clip exactly when a reply says so.
#include "settings/settings_request.h"

#include "fuzz/fuzz.h"
#include "src/voxo/clip.h"
#include "tests/daemon/daemon_fixture.h"
#include "vcam/preload/interpose.h"

#include <sys/syscall.h>

namespace {

std::string reply;
int serverFd;

// The socket of a settings daemon in the client's own process.
int listenUnder(const std::filesystem::path &dir) {
    std::filesystem::create_directories(dir / "tmp");
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un address = {AF_UNIX, "/tmp/tessel"};
    require(bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
                listen(fd, 1) == 0,
            "there is a settings daemon");
    return fd;
}

} // namespace

// A request is answered as soon as it is on its way.
INTERPOSE(ssize_t, send, (int fd, const void *text, std::size_t size, int flags)) {
    const long sent = syscall(SYS_sendto, fd, text, size, flags, nullptr, 0);
    const UniqueFd connection(accept(serverFd, nullptr, nullptr));
    char request[16384];
    recv(connection.get(), request, sizeof request, 0);
    syscall(SYS_write, connection.get(), reply.data(), reply.size());
    return sent;
}

void fuzz(Input input) {
    static const TemporaryDirectory dir;
    static const RedirectedPaths paths(dir.path());
    static const int listening = listenUnder(dir.path());
    serverFd = listening;
    const std::uint32_t room = input.below(300);
    reply = input.text(8192);
    const SETTINGS_REQUEST request = {SETTINGS_KIND_GET, "Value", "", "key", 99, 0, 0};
    std::string buffer(room + 8, '#');
    const bool fits = reply.size() < room;
    require(settings_request(&request, buffer.data(), room) == (fits ? 0 : -1),
            "what fits is taken");
    require(!fits || buffer.substr(0, reply.size() + 1) == reply + '\0', "it is what was sent");
    require(buffer.substr(room) == "########", "nothing is written past the room");
    settings_request(&request, nullptr, 0); // shows it
    for (const bool isGood : {false, true}) {
        reply = isGood ? "1\n" : reply;
        clipStart = 1;
        const bool isTalking = voxoCheck2WayAudio() == 1;
        require(isTalking || !isGood, "a good reply is understood");
        require(clipStart == (isTalking ? 0 : 1), "two-way audio stops the clip");
    }
}
