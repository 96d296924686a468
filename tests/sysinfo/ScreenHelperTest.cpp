// Window placement: the arithmetic on supplied display lists, the log lines,
// the C function, and the display list of a real X server (Xvfb).
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "VORKCoreCommC/server.h"
#include "VORKCoreCommC/system.h"
#include "support/RecordingLog.h"
#include "sysinfo/ScreenHelper.h"

namespace vork::test {
namespace {

struct FixedDisplays : platform::Displays {
    explicit FixedDisplays(std::vector<Rect> r) : rects(std::move(r)) {}
    std::vector<Rect> screenRects() override { return rects; }
    std::vector<Rect> rects;
};

const Rect kPrimary{0, 0, 1440, 900};

TEST(ScreenHelper, EdgeCases) {
    struct Case { const char *what; std::vector<Rect> screens; Rect frame; bool moved; Rect result; };
    for (const Case &c : std::vector<Case>{
             {"off to the right", {kPrimary}, {2000, 100, 800, 600}, true, {320, 150, 800, 600}},
             {"one point of overlap", {kPrimary}, {1439, 899, 800, 600}, false, {1439, 899, 800, 600}},
             {"larger than the display", {kPrimary}, {-5000, -5000, 2000, 1200}, true, {0, -400, 2000, 1200}},
             {"no displays", {}, {10, 10, 800, 600}, true, {0, -700, 800, 600}},
             {"empty frame on screen", {kPrimary}, {100, 100, 0, 0}, true, {720, 450, 0, 0}},
             {"on a second display to the right", {kPrimary, {1440, -180, 1920, 1080}}, {2000, 100, 800, 600}, false,
              {2000, 100, 800, 600}},
             {"primary not at the origin", {{100, 0, 1000, 800}}, {5000, 5000, 200, 100}, true, {500, 350, 200, 100}},
             {"small window low on the display", {kPrimary}, {0, 2000, 300, 880}, true, {570, -80, 300, 880}}}) {
        auto guard = platform::displays().install(std::make_shared<FixedDisplays>(c.screens));
        Rect frame = c.frame;
        EXPECT_EQ(ScreenHelper::adjustFrameForAvailableScreens(frame), c.moved) << c.what;
        EXPECT_EQ(frame, c.result) << c.what << ": " << frame.x << "," << frame.y;
    }
}

TEST(ScreenHelper, LogLinesAndTheCFunction) {
    verifyZelInterface();  // installs the default log first, so the recording one stays
    RecordingLog log;
    auto guard = platform::displays().install(std::make_shared<FixedDisplays>(std::vector<Rect>{kPrimary}));
    int32_t x = 2000, y = 100, width = 800, height = 600;
    EXPECT_EQ(adjustWindowCoordinates(&x, &y, &width, &height), 1);
    EXPECT_EQ(std::vector<int32_t>({x, y, width, height}), std::vector<int32_t>({320, 150, 800, 600}));
    const std::string prefix = "adjustFrameForAvailableScreens: ";
    EXPECT_EQ(log.lines(), std::vector<std::string>({prefix + "appFrame={2000.000000, 100.000000, 800.000000, 600.000000}",
                                                     prefix + "screenRect (before convert)={0.000000, 0.000000, 1440.000000, 900.000000}",
                                                     prefix + "screenRect (after convert)={0.000000, 0.000000, 1440.000000, 900.000000}",
                                                     prefix + "isInView=NO",
                                                     prefix + "newRect={320.000000, 150.000000, 800.000000, 600.000000}",
                                                     prefix + "appFrame={320.000000, 150.000000, 800.000000, 600.000000}"}));
    // Truncated towards zero.
    x = 2001, y = 100, width = 801, height = 601;
    EXPECT_EQ(adjustWindowCoordinates(&x, &y, &width, &height), 1);
    EXPECT_EQ(std::vector<int32_t>({x, y, width, height}), std::vector<int32_t>({319, 149, 801, 601}));
}

// An Xvfb server on a display number it picks itself, stopped on destruction.
struct Xvfb {
    // The shell prints its process id, then becomes the server, which prints
    // its display number on the same pipe.
    Xvfb() : out(popen("echo $$; exec Xvfb -displayfd 1 -noreset -nolisten tcp -screen 0 1440x900x24 2>/dev/null", "r")) {
        char line[32];
        if (out && fgets(line, sizeof line, out)) pid = std::atoi(line);
        if (out && fgets(line, sizeof line, out)) display = ":" + std::to_string(std::atoi(line));
    }
    ~Xvfb() { stop(); }
    void stop() {
        if (pid > 0) kill(pid, SIGTERM);
        if (out) pclose(out);
        pid = -1, out = nullptr;
    }
    int xrandr(const std::string &args) const {
        return std::system(("DISPLAY=" + display + " xrandr " + args + " >/dev/null").c_str());
    }
    FILE *out;
    pid_t pid = -1;
    std::string display;
};

TEST(ScreenHelper, RealXServerWithTwoMonitors) {
    Xvfb server;
    ASSERT_FALSE(server.display.empty()) << "Xvfb did not start (package xvfb)";
    // A second monitor to the right of the first, which is made the primary one.
    ASSERT_EQ(server.xrandr("--setmonitor second 1440/381x900/238+1440+0 none"), 0);
    ASSERT_EQ(server.xrandr("--output screen --primary"), 0);
    const char *previous = getenv("DISPLAY");
    const std::string saved = previous ? previous : "";
    setenv("DISPLAY", server.display.c_str(), 1);
    EXPECT_EQ(ScreenHelper::screenRects(), std::vector<Rect>({{0, 0, 1440, 900}, {1440, 0, 1440, 900}}));
    int32_t x = 2000, y = 100, width = 800, height = 600;
    EXPECT_EQ(adjustWindowCoordinates(&x, &y, &width, &height), 0);  // on the second monitor
    x = 3000;
    EXPECT_EQ(adjustWindowCoordinates(&x, &y, &width, &height), 1);
    EXPECT_EQ(std::vector<int32_t>({x, y, width, height}), std::vector<int32_t>({320, 150, 800, 600}));
    server.stop();
    EXPECT_TRUE(ScreenHelper::screenRects().empty());  // no reachable display
    previous ? setenv("DISPLAY", saved.c_str(), 1) : unsetenv("DISPLAY");
}

}  // namespace
}  // namespace vork::test
