#include "audioout/audioout.h"

#include "audioout/hi3516a_ao.h"
#include "audioout/report.h"

std::int32_t audioout_open(std::int32_t aoDevId, std::int32_t aoChn, std::int32_t iSamprate,
                           std::int32_t iSampfmt, std::int32_t iSamp_frmPt) {
    hi3516a_sys_init();
    if (hi3516a_ao_close(aoDevId, aoChn) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_close failed");
        return -1;
    }
    if (hi3516a_ao_init_cfg(aoDevId, iSamprate, iSampfmt, iSamp_frmPt) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_init_cfg failed");
        return -1;
    }
    if (hi3516a_ao_open(aoDevId, aoChn) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_open failed");
        return -1;
    }
    return 0;
}

std::int32_t audioout_write(std::int32_t aoDevId, std::int32_t aoChn, const void *block,
                            std::int32_t iFrameSize) {
    if (iFrameSize < 1) {
        AUDIOOUT_REPORT("%s :%d\n", "audioout_write fail, iFrameSize", iFrameSize);
        return -1;
    }
    if (hi3516a_ao_pcm_write(aoDevId, aoChn, block, iFrameSize) == 0) {
        return 0;
    }
    AUDIOOUT_REPORT_TEXT("hi3516a_ao_pcm_write failed");
    if (hi3516a_ao_frmPt_check(aoDevId, iFrameSize) == 0) {
        return -1;
    }
    AUDIOOUT_REPORT_TEXT("reset hi3516a ao attribute");
    if (hi3516a_ao_pcm_reset(aoDevId, aoChn, iFrameSize) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_pcm_reset failed");
    }
    return -1;
}

std::int32_t audioout_set_volume(std::uint32_t volume) {
    if (hi3516a_ao_reset_volume(volume) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_reset_volume failed !");
        return -1;
    }
    return 0;
}

std::int32_t audioout_clear_audio_buffer(std::int32_t aoDevId, std::int32_t aoChn) {
    if (hi3516a_ao_clear_audio_buffer(aoDevId, aoChn) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_clear_audio_buffer failed !");
        return -1;
    }
    return 0;
}

std::int32_t audioout_close(std::int32_t aoDevId, std::int32_t aoChn) {
    if (hi3516a_ao_close(aoDevId, aoChn) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_close failed !");
        return -1;
    }
    return 0;
}
