// Init while a loader is at work: from its own call-back, from another thread,
// and from both at once.
#include "tests/camera/search_fixture.h"

namespace {

constexpr char kImagePath[] = "/mtd_rwarea/wiru/bin/TorvikFW.bin";

/// Why the boot loader gets no firmware.
enum class Refusal { kNoImage, kEmptyImage, kBurn };

struct RetryRow {
    const char* name;
    Refusal refusal;
    /// The call-back does not return before the second report; or else its
    /// thread is held at its first step behind Init until nothing else moves.
    bool waits_inside;
    bool host_waits_as_well;  ///< another thread is inside Init for the same loader
};

class RetryAfterAFailedDownload : public SearchTest, public testing::WithParamInterface<RetryRow> {
protected:
    void SetUp() override
    {
        SearchTest::SetUp();
        if (GetParam().refusal != Refusal::kNoImage)
            TvRoot::Write(kImagePath, GetParam().refusal == Refusal::kBurn ? "image" : "");
        if (GetParam().refusal == Refusal::kBurn) {
            m_bus.FailCall("libusb_control_transfer", 0, LIBUSB_ERROR_PIPE, [](const Call& call) {
                return call.setup.request_type == 0x40 && call.setup.request == 0x08;
            });
        }
        m_bus.Attach(m_boot_loader);
        CountSearches();
    }
};

TEST_P(RetryAfterAFailedDownload, FindsTheVendorInterfaceFreeAgain)
{
    Make();
    std::atomic<bool> second_seen{!GetParam().waits_inside};
    const auto first_loader = std::make_shared<held_thread::Hold>();
    g_host.on_report = [&](bool, int report) {
        if (report != 1)
            return;
        m_camera->Init(OnReport, 0);
        if (GetParam().waits_inside)
            second_seen = WaitUntil([] { return g_host.reports > 1; });
        else
            held_thread::AtStep(1, first_loader);
    };
    m_on_search = [this](int search) {
        if (search == 1 && GetParam().host_waits_as_well)
            m_first_search.Pass();
    };
    m_camera->Init(OnReport, 0);
    std::unique_ptr<HostCall> host;
    if (GetParam().host_waits_as_well) {
        EXPECT_TRUE(m_first_search.WaitArrived());
        host = std::make_unique<HostCall>([this] { m_camera->Init(OnReport, 0); });
        EXPECT_TRUE(host->WaitAtRest());
        EXPECT_FALSE(host->Returned()) << "a search is under way";
        m_first_search.Open();
    }
    EXPECT_TRUE(WaitUntil([&] {
        return g_host.reports >= 2 || (first_loader->reached && AllOthersSleepOn());
    }));
    first_loader->gate.Open();
    host.reset();
    EXPECT_TRUE(WaitUntil([] { return g_host.reports >= 2; }));
    EndCamera();

    EXPECT_TRUE(second_seen);
    EXPECT_LE(m_searches, GetParam().host_waits_as_well ? 3 : 2);
    EXPECT_EQ(m_opened_beside_another, 0);
    EXPECT_EQ(m_log.Count("use_pcsync is 1\n"), static_cast<std::size_t>(m_searches));
    EXPECT_FALSE(m_log.Contains("use_pcsync is 0\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Hosts, RetryAfterAFailedDownload,
    testing::Values(RetryRow{"WithoutAnImage", Refusal::kNoImage, false, false},
                    RetryRow{"WithAnEmptyImage", Refusal::kEmptyImage, false, false},
                    RetryRow{"WithARefusedImage", Refusal::kBurn, false, false},
                    RetryRow{"WaitingInside", Refusal::kNoImage, true, false},
                    RetryRow{"WhileAHostWaits", Refusal::kNoImage, false, true},
                    RetryRow{"WaitingInsideWhileAHostWaits", Refusal::kNoImage, true, true}),
    [](const auto& row) { return std::string(row.param.name); });

class Retry : public SearchTest {
protected:
    /// The adapters are made once, so a camera that was away at that moment is
    /// found by every search and never ready.
    void MakeAdaptersWithoutTheCamera()
    {
        Make();
        CKelVeskCamera::CamInitDoneCallback(0, m_camera.get());
        m_bus.Attach(m_device);
        CountSearches();
    }
    /// A call-back that tries again as long as it hears false.
    void RetryUntilEnough()
    {
        g_host.on_report = [this](bool ready, int) {
            if (!ready && !m_enough)
                m_camera->Init(OnReport, 0);
        };
    }
    void HoldTheFirstTwoSearches()
    {
        m_on_search = [this](int search) {
            if (search == 1)
                m_first_search.Pass();
            else if (search == 2)
                m_second_search.Pass();
        };
    }
    /// A host's Init against a call-back that retries: the second search does
    /// not get anywhere before the Init has returned.
    void InitBesideRetries()
    {
        RetryUntilEnough();
        HoldTheFirstTwoSearches();
        m_camera->Init(OnReport, 0);
        ASSERT_TRUE(m_first_search.WaitArrived());
        HostCall host([this] { m_camera->Init(OnReport, 0); });
        EXPECT_TRUE(host.WaitAtRest());
        EXPECT_FALSE(host.Returned()) << "a search is under way";
        m_first_search.Open();
        EXPECT_TRUE(m_second_search.WaitArrived());
        EXPECT_TRUE(host.WaitReturned()) << "the loader that it found is through";
        EXPECT_EQ(m_searches, 2);
        m_enough = true;
        m_second_search.Open();
    }

    std::atomic<bool> m_enough{false};
};

TEST_F(Retry, FromTheCallBackDoesNotKeepAHostInInit)
{
    Make();
    CountSearches();
    InitBesideRetries();
    EndCamera();
}

TEST_F(Retry, WithACameraThatIsNeverReadyDoesNotKeepAHostInInit)
{
    MakeAdaptersWithoutTheCamera();
    InitBesideRetries();
    EndCamera();
    EXPECT_EQ(m_opened_beside_another, 0);
}

TEST_F(Retry, OfACameraThatIsNeverReadyWaitingInsideFindsItClosed)
{
    MakeAdaptersWithoutTheCamera();
    std::atomic<bool> second_seen{false};
    g_host.on_report = [&](bool ready, int report) {
        EXPECT_FALSE(ready);
        if (report != 1)
            return;
        m_camera->Init(OnReport, 0);
        second_seen = WaitUntil([] { return g_host.reports > 1; });
    };
    m_camera->Init(OnReport, 0);
    EXPECT_TRUE(WaitUntil([] { return g_host.reports == 2; }));
    EndCamera();
    EXPECT_TRUE(second_seen);
    EXPECT_EQ(m_opened_beside_another, 0);
}

/// At a pace that leaves a host time to be late.
TEST_F(Retry, FromTheCallBackForEverLeavesInitAboutOneSearchLong)
{
    constexpr int kMost = 40;  // that the host gets out after all
    const FastSleeps paced{50};
    Make();
    CountSearches();
    g_host.on_report = [this](bool, int report) {
        if (!m_enough && report < kMost)
            m_camera->Init(OnReport, 0);
    };
    m_camera->Init(OnReport, 0);
    for (int round = 0; round < 3; ++round) {
        const int before = m_searches;
        m_camera->Init(OnReport, 0);
        EXPECT_LE(m_searches - before, 2);
    }
    m_enough = true;
    EndCamera();
}

TEST_F(Retry, TwiceInEachCallBackDoesNotGatherThreads)
{
    constexpr int kSearches = 20;
    constexpr int kFew = 5;  // the found loader, the new one, those about to end
    Make();
    CountSearches();
    std::atomic<int> most{0};
    g_host.on_report = [&](bool, int report) {
        const int threads = held_thread::ThreadsRunning();
        for (int seen = most; threads > seen && !most.compare_exchange_weak(seen, threads);) {
        }
        if (report >= kSearches)
            return;
        m_camera->Init(OnReport, 0);
        m_camera->Init(OnReport, 0);
    };
    m_camera->Init(OnReport, 0);
    EXPECT_TRUE(WaitUntil([] { return g_host.reports >= kSearches; }));
    EndCamera();
    EXPECT_LE(most, kFew);
}

TEST_F(Retry, OfTwoHostsAtOnceStartsOneLoaderThatReportsToTheLast)
{
    Make();
    CountSearches();
    m_on_search = [this](int search) {
        if (search == 1)
            m_first_search.Pass();
    };
    m_camera->Init(OnReport, 0);
    ASSERT_TRUE(m_first_search.WaitArrived());
    {
        HostCall host([this] { m_camera->Init(OnReport, 0); });
        EXPECT_TRUE(host.WaitAtRest());
        HostCall other([this] { m_camera->Init(OnOtherReport, 0); });
        EXPECT_TRUE(other.WaitAtRest());
        EXPECT_FALSE(host.Returned());
        EXPECT_FALSE(other.Returned());
        EXPECT_EQ(m_searches, 1) << "the second waits for the same search";
        m_first_search.Open();
    }
    EXPECT_TRUE(WaitUntil([] { return g_host.reports >= 2; }));
    EndCamera();
    EXPECT_EQ(m_searches, 2);
    EXPECT_TRUE(g_host.other_heard_last) << "the last call's call-back is the one that is stored";
}

}  // namespace
