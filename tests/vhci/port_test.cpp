// Plugging into a port, with a folder in place of the kernel's controller.
#include "virtual_camera/vhci/port.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;
using vcam::vhci::Port;

class Controller : public testing::Test {
protected:
    void SetUp() override
    {
        std::string pattern = (fs::current_path() / "controller_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
        fs::create_directories(m_folder / "usb3");
        fs::create_directories(m_folder / "usb4");
        std::ofstream(m_folder / "attach");
    }
    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }

    void List(const char* device) { fs::create_directories(m_folder / device); }
    std::string Attached() const
    {
        std::ifstream file(m_folder / "attach");
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    fs::path m_folder;
};

TEST_F(Controller, IsToldPortDescriptorAndSpeed)
{
    EXPECT_TRUE(Port(m_folder.string(), 2).Attach().Open());
    const std::string order = Attached();
    EXPECT_EQ(order.substr(0, 2), "2 ");
    EXPECT_EQ(order.substr(order.size() - 8), " 65538 3");
}

TEST_F(Controller, KeepsAPortWhoseLastDeviceTheKernelStillLists)
{
    List("usb3/3-1");
    const Port port(m_folder.string());
    EXPECT_FALSE(port.Attach().Open());
    EXPECT_EQ(Attached(), "");
    fs::remove(m_folder / "usb3/3-1");
    EXPECT_TRUE(port.Attach().Open());
    EXPECT_EQ(Attached().substr(0, 2), "0 ");
}

TEST_F(Controller, OtherPortsAndFoldersAreNoMatter)
{
    List("usb3/3-2");
    List("usb3/3-1:1.0");
    List("usb4/3-1");
    List("power/3-1");
    EXPECT_TRUE(Port(m_folder.string()).Attach().Open());
}

TEST_F(Controller, ThatIsNotThereIsAnError)
{
    const Port port((m_folder / "none").string());
    EXPECT_THROW(port.Attach(), std::runtime_error);
}

}  // namespace
