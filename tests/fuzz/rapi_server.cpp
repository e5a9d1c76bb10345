// RAPI as the simulated handheld serves it: a request is carried out or is none, its answer fits
// into a frame, and none reaches a file outside of the handheld.

#include "simulator/rapi_calls.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

using namespace simulator;

static const StateFolder& NewHandheld(const std::filesystem::path& root) {
    static const StateFolder folder = [&] {
        [[maybe_unused]] const auto* silenced = std::freopen("/dev/null", "w", stdout);
        return StateFolder::Create(root / "device", {"TOLKP1000", "1.14", "ENG"}, 1, true);
    }();
    for (const char* name : {"files", "registry", "attributes"})
        std::filesystem::remove_all(folder.Path(name));
    test_support::WriteFileBytes(folder.Path("files/Temp/a"), "content");
    test_support::WriteFileBytes(folder.Path("a"), "outside");
    return folder;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto root = test_support::HomeOfTests().Path();
    const StateFolder& folder = NewHandheld(root);
    EventLoop loop;
    DeviceFiles files(folder.Path("files"), folder.Path("attributes"));
    DeviceRegistry registry(folder.Path("registry"));
    const Faults faults;
    const Report report(folder.Path("refused"));
    Programs programs({loop, folder, files, faults, report}, [](LinkKind) {});
    RapiDevice device = {folder, files, registry, programs, faults};
    RapiSession session;
    for (fuzz::Input input{{data, size}}; !input.left.empty();) {
        const auto frame = input.Take(input.Byte() + 4U);
        const auto request = ReadRequest(device, session, {frame.begin(), frame.end()});
        RapiAnswer answer;
        if (request)
            request->execute(answer);
        fuzz::Require(answer.Frame().size() <= rapi_wire::MaxFrameSize);
    }
    CloseAll(device, session);
    fuzz::Require(session.handles.empty() && session.keys.empty());
    fuzz::Require(files.Delete(u"\\Temp\\a") != error::SharingViolation);
    fuzz::Require(test_support::ReadBytes(folder.Path("a")) == "outside");
    return 0;
}
