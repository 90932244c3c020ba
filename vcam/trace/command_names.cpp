#include "vcam/trace/command_names.h"

#include "audioout/acodec_record.h"
#include "mpp/code/mpi/src/mpi_vb/mmz_record.h"
#include "mpp/code/mpi/src/mpi_vb/vb_record.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <sstream>

namespace {

struct CommandName {
    std::uint32_t command;
    const char *name;
};
constexpr CommandName names[] = {
    {ACODEC_CMD_RESET, "acodec reset"},
    {ACODEC_CMD_SET_RATE, "acodec set rate"},
    {ACODEC_CMD_SET_DACL_VOLUME, "acodec set left volume"},
    {ACODEC_CMD_SET_DACR_VOLUME, "acodec set right volume"},
    {ACODEC_CMD_SET_DACL_MUTE, "acodec set left mute"},
    {AO_CMD_BIND, "ao bind"},
    {AO_CMD_SET_PUB_ATTR, "ao set attributes"},
    {AO_CMD_GET_PUB_ATTR, "ao get attributes"},
    {AO_CMD_ENABLE, "ao enable"},
    {AO_CMD_DISABLE, "ao disable"},
    {AO_CMD_SEND, "ao send"},
    {AO_CMD_ENABLE_CHN, "ao enable channel"},
    {AO_CMD_DISABLE_CHN, "ao disable channel"},
    {AO_CMD_PAUSE_CHN, "ao pause channel"},
    {AO_CMD_RESUME_CHN, "ao resume channel"},
    {AO_CMD_CLEAR_CHN_BUF, "ao clear channel buffer"},
    {AO_CMD_QUERY_CHN_STAT, "ao query channel state"},
    {AO_CMD_SET_RESMP_DBG, "ao set resampling debugging"},
    {AO_CMD_SET_VQE_DBG, "ao set quality debugging"},
    {AO_CMD_SET_TRACK_MODE, "ao set track mode"},
    {AO_CMD_GET_TRACK_MODE, "ao get track mode"},
    {AO_CMD_SET_CLK_DIR, "ao set clock direction"},
    {AO_CMD_GET_CLK_DIR, "ao get clock direction"},
    {AO_CMD_SET_VOLUME, "ao set volume"},
    {AO_CMD_GET_VOLUME, "ao get volume"},
    {AO_CMD_SET_MUTE, "ao set mute"},
    {AO_CMD_GET_MUTE, "ao get mute"},
    {AO_CMD_CLR_PUB_ATTR, "ao clear attributes"},
    {AO_CMD_SET_DUMP, "ao set dump"},
    {AO_CMD_GET_DUMP, "ao get dump"},
    {AO_CMD_GET_READY, "ao get ready"},
    {SYS_CMD_INIT, "sys init"},
    {SYS_CMD_EXIT, "sys exit"},
    {SYS_CMD_SET_CONFIG, "sys set configuration"},
    {SYS_CMD_GET_CONFIG, "sys get configuration"},
    {SYS_CMD_GET_KERNEL_CONFIG, "sys get kernel configuration"},
    {SYS_CMD_FLUSH_CACHE, "sys flush cache"},
    {SYS_CMD_GET_TUNING_MODE, "sys get tuning mode"},
    {SYS_CMD_WAIT_TUNING, "sys wait tuning"},
    {SYS_CMD_WAKE_TUNING, "sys wake tuning"},
    {LOG_CMD_SET_LEVEL, "log set level"},
    {LOG_CMD_GET_LEVEL, "log get level"},
    {LOG_CMD_SET_WAIT_FLAG, "log set wait flag"},
    {VB_CMD_CREATE_POOL, "vb create pool"},
    {VB_CMD_DESTROY_POOL, "vb destroy pool"},
    {VB_CMD_GET_BLOCK, "vb get block"},
    {VB_CMD_RELEASE_BLOCK, "vb release block"},
    {VB_CMD_BLOCK_TO_PHYS, "vb block to address"},
    {VB_CMD_BLOCK_TO_POOL, "vb block to pool"},
    {VB_CMD_INIT, "vb init"},
    {VB_CMD_EXIT, "vb exit"},
    {VB_CMD_GET_CONFIG, "vb get configuration"},
    {VB_CMD_SET_CONFIG, "vb set configuration"},
    {VB_CMD_POOL_INFO, "vb pool info"},
    {VB_CMD_POOL_USE, "vb pool use"},
    {VB_CMD_INIT_USER, "vb init user"},
    {VB_CMD_EXIT_USER, "vb exit user"},
    {VB_CMD_SET_WORD, "vb set word"},
    {VB_CMD_GET_WORD, "vb get word"},
    {VB_CMD_QUERY, "vb query"},
    {MMZ_CMD_ALLOC, "mmz alloc"},
    {MMZ_CMD_FREE, "mmz free"},
    {MMZ_CMD_MAP, "mmz map"},
    {MMZ_CMD_MAP_CACHED, "mmz map cached"},
    {MMZ_CMD_UNMAP, "mmz unmap"},
    {MMZ_CMD_LOOK_UP, "mmz look up"},
    {MMZ_CMD_FLUSH_RANGE, "mmz flush range"},
    {MMZ_CMD_FLUSH_ALL, "mmz flush all"},
};

} // namespace

std::string commandName(std::uint32_t command) {
    const auto *const found =
        std::find_if(std::begin(names), std::end(names),
                     [command](const CommandName &name) { return name.command == command; });
    if (found != std::end(names)) {
        return found->name;
    }
    std::ostringstream number;
    number << "command 0x" << std::hex << std::uppercase << std::setw(8) << std::setfill('0')
           << command;
    return number.str();
}

std::uint32_t commandNamed(const std::string &name) {
    const auto *const found =
        std::find_if(std::begin(names), std::end(names),
                     [&](const CommandName &one) { return name == one.name; });
    return found != std::end(names) ? found->command : 0;
}

std::vector<std::uint32_t> namedCommands() {
    std::vector<std::uint32_t> commands;
    std::transform(std::begin(names), std::end(names), std::back_inserter(commands),
                   [](const CommandName &name) { return name.command; });
    return commands;
}
