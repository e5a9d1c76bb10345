// Runs an upgrade through the real wizard and reads the times that the handheld has noted.

#include "bench/upgrade_run.h"

#include <fstream>
#include <sstream>

namespace bench {

using namespace test_support;

namespace {

Times ReadTimes(const std::string& path) {
    Times times;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string kind, name;
        double one = 0, other = 0;
        words >> kind >> name >> one >> other;
        if (kind == "token")
            times.tokens[name] = one / 1e9;
        else if (kind == "piece")
            times.pieces.emplace_back(one / 1e9, other / 1e9);
    }
    return times;
}

} // namespace

UpgradeRun::UpgradeRun(const UpgradeOptions& options) {
    home_.AddLanguageFolder({.size = options.imageSize});
    const std::string file = home_.Path("times").string();
    std::vector<std::string> run = options.handheld;
    run.insert(run.end(), {"--times", file});
    cradle_ = std::make_unique<Cradle>(home_, CradleOptions{.flashMegabytes = 32, .run = run});
    wizard_ = std::make_unique<WizardRun>(home_, Environment{{"ROM_WIZARD_CLOCK", options.clock}});
    const char* link = options.usb ? "1150" : "1151";
    for (const char* line : {"1181", "1", "1", "1", link, "1", "1035", "1", "1", "1"})
        wizard_->Send(line);
    WaitForPage(*wizard_, pages::ProgressPage);
    before_ = CostsOf(wizard_->Process().Id());
    WaitForPage(*wizard_, pages::UpgradeDonePage);
    after_ = CostsOf(wizard_->Process().Id());
    cradle_->Handheld().ExpectLine(": complete"); // the last bytes may still be in the tty
    times_ = ReadTimes(file);
}

void UpgradeRun::EndWizard() {
    wizard_->Send("esc");
    wizard_->Finish();
}

} // namespace bench
