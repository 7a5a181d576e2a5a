#include "camera/dummy_still_capture.h"

#include <memory>
#include <new>

#include "camera/dummy_still_path.h"
#include "firmware/image_file.h"
#include "runtime/debug_log.h"

char dummy_jpg_path_name[] = "/mtd_rwcommon/wiru/bin/dummy.jpg";

namespace {

struct Picture {
    std::unique_ptr<unsigned char[]> data;  ///< null when there is none; logged
    std::uint32_t size = 0;
};

Picture ReadPicture()
{
    static constexpr char kFunction[] = "Run";
    const OpenedFile file = OpenForReading(dummy_jpg_path_name);
    if (!file.exists) {
        CAM_LOG_AS(kFunction, kLogDebugging,
                   "CDummyStillCapture::Run() No dummy image file.\r\n");
        return {};
    }
    const long size = file.regular ? FileSize(file.handle.get()) : -1;
    Picture picture;
    if (size >= 0 && size <= kMaxFileSize) {
        picture.size = static_cast<std::uint32_t>(size);
        picture.data.reset(new (std::nothrow) unsigned char[picture.size]());
    }
    if (picture.data == nullptr) {
        CAM_LOG_AS(kFunction, kLogDebugging, "file %s size is incorrect. \r\n",
                   dummy_jpg_path_name);
        return {};
    }
    static_cast<void>(std::fread(picture.data.get(), 1, picture.size, file.handle.get()) > 0);
    return picture;
}

}  // namespace

CDummyStillCapture::CDummyStillCapture(ICameraSubject* camera)
    : pThread(true, -1), m_camera(camera)
{
}

CDummyStillCapture::~CDummyStillCapture()
{
    Stop();
}

void CDummyStillCapture::Run()
{
    const Picture picture = ReadPicture();
    if (picture.data != nullptr) {
        CCameraData record = {};
        record.data = picture.data.get();
        record.size = picture.size;
        record.stream_type = CAM_STREAM_JPEG;
        CAM_LOG(kLogDebugging, "CDummyStillCapture::Run() JPEG Size=%d\r\n",
                static_cast<int>(picture.size));
        if (m_camera != nullptr)
            m_camera->OnFrameArrival(&record);
    }
    delete this;
}
