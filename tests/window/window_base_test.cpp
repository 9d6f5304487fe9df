// The window class behind a window: named or generated, and gone with its object. What its messages do is seen at the
// player's window.
#include "window/window_base.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace vistrame {
namespace {

class NamedWindow final : public WindowBase {
public:
    std::string ClassName() const { return class_.lpszClassName; }
};

TEST(WindowBase, NamesItsClassAndUnregistersItAtTheEnd) {
    const auto registered = [](const std::string& name) {
        WNDCLASSEXA description{};
        description.cbSize = sizeof description;
        return GetClassInfoExA(GetModuleHandleA(nullptr), name.c_str(), &description) != FALSE;
    };
    auto named = std::make_unique<NamedWindow>();
    EXPECT_TRUE(named->RegisterWindowClass("VistrameTestClass"));
    NamedWindow second;
    EXPECT_FALSE(second.RegisterWindowClass("VistrameTestClass")) << "a class exists once";
    EXPECT_TRUE(registered("VistrameTestClass"));
    named.reset();
    EXPECT_FALSE(registered("VistrameTestClass"));

    auto generated = std::make_unique<NamedWindow>();
    DestroyWindow(generated->Create("", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr));
    const std::string name = generated->ClassName();
    EXPECT_EQ(name.size(), std::string("AutgenWndClassName").size() + 8);
    EXPECT_TRUE(name.starts_with("AutgenWndClassName"));
    EXPECT_TRUE(registered(name));
    generated.reset();
    EXPECT_FALSE(registered(name));
}

} // namespace
} // namespace vistrame
