// Observers for whose registration there is not memory enough.
#include "tests/memory/memory_fixture.h"

namespace {

class ObserverWithoutMemory : public MemoryTest, public testing::WithParamInterface<CAM_STREAM> {
protected:
    static constexpr std::size_t kObservers = 9;

    ObserverWithoutMemory()
    {
        for (std::size_t i = 0; i < kObservers; ++i)
            m_observers.push_back(std::make_unique<FrameCollector>(GetParam()));
    }
    /// RegisterObserver on a thread for which there is no memory.
    bool Register(FrameCollector& observer)
    {
        bool registered = false;
        product_heap::FailAll();
        try {
            registered = m_camera->RegisterObserver(&observer);
        } catch (const std::bad_alloc&) {
            ADD_FAILURE() << "RegisterObserver: an exception left it";
        }
        product_heap::FailNone();
        return registered;
    }
    void Deliver()
    {
        unsigned char data[4] = {};
        CCameraData record{};
        record.data = data;
        record.size = sizeof data;
        record.stream_type = GetParam();
        m_camera->OnFrameArrival(&record);
    }

    std::vector<std::unique_ptr<FrameCollector>> m_observers;
};

TEST_P(ObserverWithoutMemory, IsRefusedAndTheOthersStay)
{
    Create(kOther);
    for (std::size_t i = 0; i < kObservers; ++i) {
        FrameCollector& observer = *m_observers[i];
        const bool registered = Register(observer);
        EXPECT_EQ(registered, !product_heap::LastFailure().happened) << i;
        if (!registered) {
            EXPECT_FALSE(m_camera->RemoveObserver(&observer)) << i;
            Deliver();
            EXPECT_EQ(observer.Count(), 0u) << i;
            EXPECT_TRUE(m_camera->RegisterObserver(&observer)) << "with memory again";
        }
        for (const auto& one : m_observers)
            one->Clear();
        Deliver();
        for (std::size_t one = 0; one < kObservers; ++one)
            EXPECT_EQ(m_observers[one]->Count(), one <= i ? 1u : 0u) << i << ", observer " << one;
    }
    Destroy();
    EXPECT_EQ(product_heap::Live(), 0);
}

INSTANTIATE_TEST_SUITE_P(Streams, ObserverWithoutMemory,
                         testing::Values(CAM_STREAM_PCM, CAM_STREAM_H264_MAIN, CAM_STREAM_NV21),
                         [](const auto& row) {
                             return "Stream" + std::to_string(static_cast<int>(row.param));
                         });

}  // namespace
