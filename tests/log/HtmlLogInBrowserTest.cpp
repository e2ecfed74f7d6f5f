// The HTML log as a browser shows it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "log/KvReport.h"
#include "tests/log/LogDir.h"
#include "tests/support/ChildProcess.h"

namespace {

constexpr char kModule[] = "HtmlLogInBrowserTest";

std::string findBrowser() {
    const char* path = getenv("PATH");
    std::istringstream directories(path != nullptr ? path : "");
    for (std::string directory; std::getline(directories, directory, ':');) {
        for (const char* name : {"chromium", "chromium-browser"}) {
            std::string browser = directory + "/" + name;
            if (access(browser.c_str(), X_OK) == 0) {
                return browser;
            }
        }
    }
    return "";
}

// Lists every span and rule of the page, one a line, as the browser computed them. A no-break space
// is shown like a space: as a dot.
constexpr char kLister[] = R"(<script>
const lines = [];
for (const part of document.querySelectorAll('span, hr')) {
  if (part.tagName == 'HR') {
    lines.push('rule');
    continue;
  }
  const style = getComputedStyle(part);
  lines.push([part.id, style.color, style.fontWeight,
              part.innerText.replace(/\u00a0/g, '.').replace(/ /g, '.').trim()].join('|'));
}
lines.push('background ' + getComputedStyle(document.body).backgroundColor);
document.documentElement.innerHTML = '';
document.documentElement.textContent = 'BEGIN\n' + lines.join('\n') + '\nEND';
</script>)";

std::string show(const std::string& browser, const std::string& page) {
    const TempTree tree;
    (void)tree.write("page.htm", page + kLister);
    const ChildCommand command{
        browser,
        {"--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
         "--user-data-dir=" + tree.makeDir("profile"), "--dump-dom",
         "file://" + tree.path("page.htm")},
        tree.path(),
        {{"HOME", tree.path()}, {"TMPDIR", tree.path()}},
        std::chrono::seconds(90)};
    const std::string dom = runChild(command).out;
    const size_t begin = dom.find("BEGIN\n");
    const size_t end = dom.find("\nEND");
    return begin < end && end != std::string::npos ? dom.substr(begin + 6, end - begin - 6)
                                                   : "no page: " + dom;
}

constexpr char kWhite[] = "rgb(255, 255, 255)";

// The lines of the hidden fields, whose texts are the machine's.
std::string withoutHiddenFields(const std::string& listing) {
    std::istringstream lines(listing);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        const std::string id = line.substr(0, line.find('|'));
        const bool hidden = id == "typ" || id == "tme" || id == "pid" || id == "tid" || id == "fln";
        if (hidden) {
            EXPECT_NE(line.find(std::string("|") + kWhite + "|"), std::string::npos) << line;
        } else {
            kept += line + "\n";
        }
    }
    return kept;
}

}  // namespace

TEST(HtmlLogInBrowser, ShowsTheMessagesAndHidesTheFields) {
    const std::string browser = findBrowser();
    if (browser.empty()) {
        GTEST_SKIP() << "no Chromium is installed";
    }
    const LogDir log("[Debug]\nhtml=1\n");
    (void)log.tree().makeDir("VC_Data/VC_Log");
    letNextCallMeasure();
    KV_INFO(kLevelProgress, "x<y & z>w &#60; </span>");
    KV_ERROR(kLevelProgress, "a   b\tc");
    KV_INFO(kLevelProgress, "-----");
    KV_INFO(kLevelProgress, "one\ntwo");
    EXPECT_EQ(withoutHiddenFields(show(browser, log.html())),
              "inf|rgb(0, 0, 0)|400|x&lt;y.&amp;.z&gt;w.&amp;#60;.&lt;/span&gt;\n"
              "err|rgb(255, 0, 0)|700|a...b....c\n"
              "rule\n"
              "inf|rgb(0, 0, 0)|400|one\ntwo\n"
              "background rgb(255, 255, 255)\n");
}
