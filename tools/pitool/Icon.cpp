// pitool icon: icon files, and the status icon of a physical drive.
#include "Commands.h"
#include "Names.h"

#include <PI/Health.h>
#include <PI/Helpers.h>

#include <CLI/CLI.hpp>

#include <climits>
#include <memory>

namespace pitool {

namespace {

struct IconArgs {
    std::string id;
    std::string state;
    std::string media;
    std::string power;
    bool overlay = false;
    bool foreign = false;
};

std::string Described(int value, const std::string& prefix) {
    const NamedValue* row = FindByValue("int", prefix, value);
    return std::to_string(value) + (row ? std::string(" ") + row->name : "");
}

Json Named(int value, const std::string& prefix) {
    const NamedValue* row = FindByValue("int", prefix, value);
    return Json::Object().Set("value", value).Set("name", row ? Json(row->name) : Json());
}

std::string IconFile(int id) {
    RVX::Strings::CStringVar file;
    if (PI::GetIconPath(id, file) != 0) {
        NotFound("icon " + std::to_string(id) + " has no image file");
    }
    return file.Str();
}

Result RunStatusIcon(const IconArgs& args) {
    if (args.state.empty()) {
        Fail("--state is needed for a status icon");
    }
    const int state = ParseNamedValue(args.state, "--state", "int", "PD_STATE_");
    const int media =
        args.media.empty() ? 0 : ParseNamedValue(args.media, "--media", "int", "MEDIA_TYPE_");
    const int power = args.power.empty()
                          ? PI::POWER_STATE_NORMAL
                          : ParseNamedValue(args.power, "--power", "int", "POWER_STATE_");
    const int icon = PI::GetPDStatusIcon(state, media, args.overlay, args.foreign, power);
    const std::string file = IconFile(icon);
    const std::string health = PI::HealthName(PI::HealthOfDriveState(state));

    Result result;
    result.text = FormatRows({{"state", Described(state, "PD_STATE_")},
                              {"media", media == PI::MEDIA_TYPE_SSD || media == PI::MEDIA_TYPE_HDD
                                            ? Described(media, "MEDIA_TYPE_")
                                            : std::to_string(media) + " (rotating disk)"},
                              {"power", Described(power, "POWER_STATE_")},
                              {"overlay", args.overlay ? "yes" : "no"},
                              {"foreign", args.foreign ? "yes" : "no"},
                              {"icon", std::to_string(icon)},
                              {"file", file},
                              {"health", health}});
    result.json = Json::Object()
                      .Set("state", Named(state, "PD_STATE_"))
                      .Set("media", Named(media, "MEDIA_TYPE_"))
                      .Set("power", Named(power, "POWER_STATE_"))
                      .Set("overlay", args.overlay)
                      .Set("foreign", args.foreign)
                      .Set("icon", icon)
                      .Set("file", file)
                      .Set("health", health);
    return result;
}

Result RunIcon(const IconArgs& args) {
    const bool status = !args.state.empty() || !args.media.empty() || !args.power.empty() ||
                        args.overlay || args.foreign;
    if (status) {
        if (!args.id.empty()) {
            Fail("give either an icon id or the drive status options, not both");
        }
        return RunStatusIcon(args);
    }
    if (args.id.empty()) {
        Fail("give an icon id, or --state with the other drive status options");
    }
    const int id = static_cast<int>(ParseSigned(args.id, "icon id", INT_MIN, INT_MAX));
    const std::string file = IconFile(id);
    Result result;
    result.text = FormatRows({{"icon", std::to_string(id)}, {"file", file}});
    result.json = Json::Object().Set("icon", id).Set("file", file);
    return result;
}

} // namespace

void AddIconCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<IconArgs>();
    CLI::App* sub = AddSubcommand(
        app, call, "icon", "Icon file of an icon id, or the status icon of a physical drive",
        "With an icon id (24000s): its image file. With --state and the other drive options: "
        "the status icon that the user interfaces show for that drive, and the health that "
        "the library judges from it (docs/health.md). Values are numbers or the constant names "
        "(PD_STATE_*, MEDIA_TYPE_*, POWER_STATE_*).");
    sub->add_option("id", args->id, "Icon id, e.g. 24078");
    sub->add_option("--state", args->state, "Drive state, e.g. PD_STATE_REBUILD_1 or 40096");
    sub->add_option("--media", args->media,
                    "Media type: MEDIA_TYPE_SSD (40293); anything else is a rotating disk "
                    "(default)");
    sub->add_option("--power", args->power,
                    "Power state: POWER_STATE_NORMAL (default) or POWER_STATE_POWER_SAVE");
    sub->add_flag("--overlay", args->overlay, "The image with the overlay");
    sub->add_flag("--foreign", args->foreign, "The drive carries a foreign configuration");
    sub->callback([&call, args] { call.run = [args] { return RunIcon(*args); }; });
}

} // namespace pitool
