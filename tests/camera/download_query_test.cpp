// Version queries of a host while an image is written into the controller.
#include <algorithm>

#include "api/firmware_download.h"
#include "tests/camera/search_fixture.h"

namespace {

using held_thread::Hold;

constexpr char kImagePath[] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";
constexpr char kBootCodePath[] = "/mtd_rwarea/wiru/bin/TorvikBC.bin";
constexpr unsigned char kBulkInterface = 4;

/// Where a download is held.
enum class Point { kRead, kFirstRequest, kThirdBlock, kBurn };

const char* NameOf(Point point)
{
    switch (point) {
    case Point::kRead:
        return "ReadingTheFile";
    case Point::kFirstRequest:
        return "FirstRequest";
    case Point::kThirdBlock:
        return "ThirdBlock";
    case Point::kBurn:
        return "Burn";
    }
    return "";
}

bool IsControl(const Call& call)
{
    return call.function == "libusb_control_transfer";
}
bool IsBulkDownload(const Call& call)
{
    return IsControl(call) ? call.setup.request_type == 0x40
                           : call.function == "libusb_bulk_transfer";
}
bool IsUnitDownload(const Call& call)
{
    return IsControl(call) && call.setup.request_type == 0x20 &&
           (call.setup.value == 0x0300 || call.setup.value == 0x0400);
}

/// True at the call that is the point's, when asked at each call of the thread
/// that downloads.
class PointOf {
public:
    explicit PointOf(Point point) : m_point(point) {}

    bool operator()(const Call& call)
    {
        const bool bulk = IsBulkDownload(call);
        if (!bulk && !IsUnitDownload(call))
            return false;
        const bool block = bulk ? !IsControl(call) : call.setup.value == 0x0300;
        m_blocks += block;
        ++m_requests;
        switch (m_point) {
        case Point::kRead:
            return false;
        case Point::kFirstRequest:
            return m_requests == 1;
        case Point::kThirdBlock:
            return block && m_blocks == 3;
        case Point::kBurn:
            return m_blocks > 0 && !block;
        }
        return false;
    }

private:
    const Point m_point;
    int m_requests = 0;
    int m_blocks = 0;
};

/// The calling thread's requests count for the point.
thread_local bool t_downloads = false;

class QueryDuringDownload : public SearchTest {
protected:
    void SetUp() override
    {
        SearchTest::SetUp();
        TvRoot::Write(kImagePath, std::string(1200, 'i'));
        m_bus.EnableCallLog();
    }
    void HoldDownloadsAt(Point point)
    {
        m_point = std::make_unique<PointOf>(point);
        for (const char* function : {"libusb_control_transfer", "libusb_bulk_transfer"}) {
            m_bus.OnCall(function, When::kBefore, [this](const Call& call) {
                if (!t_downloads || !(*m_point)(call))
                    return;
                m_hold->reached = true;
                m_hold->gate.Pass();
            });
        }
    }
    bool WaitHeld() const
    {
        return WaitUntil([this] { return m_hold->reached.load(); });
    }
    bool WaitConnected() const
    {
        return WaitUntil([this] { return m_camera->GetState() == CAM_STATE_CONNECTED; });
    }

    std::vector<Call> RequestsOf(std::thread::id thread) const
    {
        std::vector<Call> requests;
        for (const Call& call : m_bus.CallLog())
            if (call.thread == thread && (IsControl(call) || IsBulkDownload(call)))
                requests.push_back(call);
        return requests;
    }
    /// Both properties, asked while the download is held.
    void ExpectAnswersWithoutTheCamera()
    {
        for (const auto property : {CAM_PROPERTY_AUDIO_AUTO_TEST, CAM_PROPERTY_CONNECTION_CHECK}) {
            SCOPED_TRACE(property);
            m_log.Clear();
            m_bus.ClearCallLog();
            std::atomic<bool> result{false};
            CAM_PROP_VALUE record{-4711, {0, 0}};
            HostCall query([&] { result = m_camera->GetProperty(property, &record); });
            if (!query.WaitReturned()) {
                ADD_FAILURE() << "the query waits for the download";
                m_hold->gate.Open();
                return;
            }
            EXPECT_TRUE(result);
            EXPECT_EQ(record.value, 0);
            EXPECT_EQ(m_log.Count("Get Firmware Version error\r\n"), 1U);
            EXPECT_EQ(RequestsOf(query.Id()).size(), 0U) << "between those of the download";
        }
    }
    /// What a query asked lies before or behind the download's requests.
    void ExpectApart(const std::vector<Call>& query, const std::vector<Call>& download)
    {
        ASSERT_FALSE(download.empty());
        if (query.empty())
            return;
        EXPECT_TRUE(query.back().number < download.front().number ||
                    download.back().number < query.front().number)
            << "query: calls " << query.front().number << " to " << query.back().number
            << ", download: " << download.front().number << " to " << download.back().number;
    }

    std::unique_ptr<PointOf> m_point;  ///< used by the thread that downloads
    const std::shared_ptr<Hold> m_hold = std::make_shared<Hold>();
};

struct Procedure {
    const char* name;
    int (*download)(_KelDevHandle* device, char* path);
};

constexpr Procedure kProcedures[] = {
    {"UpdateFirmware", [](_KelDevHandle* device, char* path) {
         return UpdateFirmware(device, path, 1);
     }},
    {"UpdateFirmwarePcsyncPath", [](_KelDevHandle* device, char* path) {
         return UpdateFirmwarePcsyncPath(device, path, 4);
     }},
    {"UpdateKelFirmwareWithCheckSum", [](_KelDevHandle* device, char* path) {
         return UpdateKelFirmwareWithCheckSum(device, path, 0x1234);
     }},
    {"UpdateFirmwareUvcPath", [](_KelDevHandle* device, char* path) {
         return UpdateFirmwareUvcPath(device, path, 4);
     }},
};

constexpr Point kPoints[] = {Point::kRead, Point::kFirstRequest, Point::kThirdBlock, Point::kBurn};

/// A host's own download on a handle of its own, beside the loader's watch.
class DuringAHostsDownload : public QueryDuringDownload {
protected:
    void SetUp() override
    {
        QueryDuringDownload::SetUp();
        TvRoot::Write(kImagePath, std::string(70000, 'i'));
        m_bus.Attach(m_device);
        Make();
        m_camera->Init(OnReport, 0);
        ASSERT_TRUE(WaitConnected());
        EXPECT_EQ(Get(CAM_PROPERTY_CONNECTION_CHECK), 1);
        m_handle = OpenKelDevice(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID, kBulkInterface);
        ASSERT_NE(m_handle, nullptr);
    }
    void TearDown() override
    {
        CloseKelDevice(m_handle);
        QueryDuringDownload::TearDown();
    }

    _KelDevHandle* m_handle = nullptr;
    char m_path[sizeof kImagePath] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";
};

class AtAPointOfAHostsDownload
    : public DuringAHostsDownload,
      public testing::WithParamInterface<std::tuple<Procedure, Point>> {};

TEST_P(AtAPointOfAHostsDownload, AVersionQueryAnswersAtOnceAndSendsNothing)
{
    const auto& [procedure, point] = GetParam();
    HoldDownloadsAt(point);
    std::atomic<int> result{-1};
    {
        HostCall download([&, run = procedure.download, at = point] {
            t_downloads = true;
            if (at == Point::kRead)
                held_thread::AtRead(1, m_hold);
            result = run(m_handle, m_path);
        });
        EXPECT_TRUE(WaitHeld());
        ExpectAnswersWithoutTheCamera();
        m_hold->gate.Open();
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Get(CAM_PROPERTY_CONNECTION_CHECK), 1) << "as before";
}

INSTANTIATE_TEST_SUITE_P(Procedures, AtAPointOfAHostsDownload,
                         testing::Combine(testing::ValuesIn(kProcedures),
                                          testing::ValuesIn(kPoints)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + "At" +
                                    NameOf(std::get<1>(row.param));
                         });

TEST_F(DuringAHostsDownload, AQueryUnderWayIsThroughBeforeTheFirstRequest)
{
    bool held = true;
    int step = 1;
    for (; held && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        m_bus.ClearCallLog();
        const auto hold = std::make_shared<Hold>();
        CAM_PROP_VALUE record{-4711, {0, 0}};
        std::atomic<int> result{-1};
        HostCall query([&] {
            held_thread::AtStep(step, hold);
            m_camera->GetProperty(CAM_PROPERTY_CONNECTION_CHECK, &record);
            held_thread::Nowhere();
        });
        EXPECT_TRUE(query.WaitAtRest());
        held = hold->reached;
        HostCall download([&] { result = UpdateFirmware(m_handle, m_path, 1); });
        EXPECT_TRUE(download.WaitAtRest());
        hold->gate.Open();
        EXPECT_TRUE(query.WaitReturned());
        EXPECT_TRUE(download.WaitReturned());
        EXPECT_EQ(result, 0);
        const auto requests = RequestsOf(query.Id());
        EXPECT_EQ(record.value, requests.empty() ? 0 : 1);
        ExpectApart(requests, RequestsOf(download.Id()));
    }
    if (!HasFailure()) {
        EXPECT_GT(step, 4) << "a query has no steps";
    }
}

/// What the loader writes by itself.
enum class Own { kVendor, kUnit, kBootCode };

const char* NameOf(Own own)
{
    switch (own) {
    case Own::kVendor:
        return "VendorInterface";
    case Own::kUnit:
        return "ExtensionUnit";
    case Own::kBootCode:
        return "BootCode";
    }
    return "";
}

class DuringTheLoadersDownload : public QueryDuringDownload,
                                 public testing::WithParamInterface<std::tuple<Own, Point>> {
protected:
    static bool IsVendorBurn(const Call& call)
    {
        return call.setup.request_type == 0x40 && call.setup.request == 0x08;
    }
    static bool IsUnitBurn(const Call& call)
    {
        return call.setup.value == 0x0400 && call.data == Bytes{1, 1, 3, 0, 0, 0, 0, 0};
    }
    static void WriteBootCode()
    {
        constexpr std::uint32_t kMagic = std::uint32_t{BOOTCODE_MAGIC} << 20;
        constexpr std::uint32_t kWord = kMagic | 0x20;  // newer than the boot loader's
        std::string image(0x2036, '\0');
        for (std::size_t i = 0; i < 4; ++i)
            image[0x2032 + i] = static_cast<char>(kWord >> (8 * i));
        TvRoot::Write(kBootCodePath, image);
    }
    void HoldThisThread(int reads)
    {
        t_downloads = true;
        if (std::get<Point>(GetParam()) == Point::kRead)
            held_thread::AtRead(reads, m_hold);
    }
    /// The controller in its boot loader; the firmware runs behind the burn.
    void PlugIn(Own own)
    {
        if (own == Own::kUnit) {
            // Older ones are not there at the first look.
            m_boot_loader = std::make_shared<ScriptedDevice>(Layout::kBootLoaderUvc);
            m_bus.ResetCallCounts();
            m_bus.OnCall("libusb_init", When::kBefore, [this](const Call&) {
                if (m_bus.CallCount("libusb_init") == 2)
                    m_bus.Attach(m_boot_loader);
            });
        } else {
            m_bus.Attach(m_boot_loader);
        }
        m_bus.OnCall("libusb_control_transfer", When::kAfter, [this, own](const Call& call) {
            if (m_firmware_runs || !(own == Own::kUnit ? IsUnitBurn(call) : IsVendorBurn(call)))
                return;
            m_firmware_runs = true;
            m_bus.DetachAll();
            m_bus.Attach(m_device);
            if (own == Own::kBootCode)
                HoldThisThread(2);  // the first read is that of the version word
        });
    }

    std::atomic<bool> m_firmware_runs{false};
};

TEST_P(DuringTheLoadersDownload, AVersionQueryAnswersAtOnceAndSendsNothing)
{
    const auto& [own, point] = GetParam();
    if (own == Own::kBootCode)
        WriteBootCode();
    PlugIn(own);
    HoldDownloadsAt(point);
    CountSearches();
    m_on_search = [this, firmware = own != Own::kBootCode](int) {
        if (firmware)
            HoldThisThread(1);
    };
    Make();
    m_camera->Init(OnReport, 0);
    EXPECT_TRUE(WaitHeld());
    ExpectAnswersWithoutTheCamera();
    m_hold->gate.Open();
    EXPECT_TRUE(WaitConnected());
    EXPECT_EQ(Get(CAM_PROPERTY_CONNECTION_CHECK), 1);
}

INSTANTIATE_TEST_SUITE_P(Downloads, DuringTheLoadersDownload,
                         testing::Combine(testing::Values(Own::kVendor, Own::kUnit,
                                                          Own::kBootCode),
                                          testing::ValuesIn(kPoints)),
                         [](const auto& row) {
                             return std::string(NameOf(std::get<0>(row.param))) + "At" +
                                    NameOf(std::get<1>(row.param));
                         });

TEST_F(QueryDuringDownload, UnderWayIsThroughBeforeTheLoadersFirstRequest)
{
    m_bus.Attach(m_boot_loader);
    CountSearches();
    std::shared_ptr<Hold> before_download;
    std::atomic<std::thread::id> loader{};
    m_on_search = [&](int) { loader = std::this_thread::get_id(); };
    // The boot loader has told its version; the download is next.
    m_bus.OnCall("libusb_control_transfer", When::kAfter, [&](const Call& call) {
        if (call.thread == loader && call.setup.request_type == 0xA0)
            held_thread::AtStep(1, before_download);
    });
    bool held = true;
    int step = 1;
    for (; held && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        before_download = std::make_shared<Hold>();
        m_bus.ClearCallLog();
        Make();
        const int reports = g_host.reports;
        m_camera->Init(OnReport, 0);
        ASSERT_TRUE(WaitUntil([&] { return before_download->reached.load(); }));
        const auto hold = std::make_shared<Hold>();
        HostCall query([&] {
            held_thread::AtStep(step, hold);
            Get(CAM_PROPERTY_CONNECTION_CHECK);
            held_thread::Nowhere();
        });
        EXPECT_TRUE(query.WaitAtRest());
        held = hold->reached;
        before_download->gate.Open();
        EXPECT_TRUE(WaitUntil(
            [&] { return g_host.reports > reports || AllOthersSleepOn(); }));
        hold->gate.Open();
        EXPECT_TRUE(query.WaitReturned());
        EXPECT_TRUE(WaitUntil([&] { return g_host.reports > reports; }));
        std::vector<Call> download;
        for (const Call& call : RequestsOf(loader))
            if (IsBulkDownload(call))
                download.push_back(call);
        ExpectApart(RequestsOf(query.Id()), download);
        m_camera.reset();
    }
    if (!HasFailure()) {
        EXPECT_GT(step, 4) << "a query has no steps";
    }
}

}  // namespace
