// pitool drive: the identity of a SATA drive from its ATA model string.
#include "Commands.h"

#include <PI/Helpers.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace pitool {

namespace {

struct DriveArgs {
    std::string model;
    std::string serial;
    std::string rpm;
    bool hasSerial = false;
};

std::string Thousands(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1fk", static_cast<double>(value));
    return text;
}

Result RunDrive(const DriveArgs& args) {
    if (args.model.find_first_not_of(" \t\r\n\f\v") == std::string::npos) {
        Fail("the model string is empty");
    }
    const bool measured = !args.rpm.empty();
    const unsigned long long measuredRpm = measured ? ParseUnsigned(args.rpm, "--rpm") : 0;

    std::string vendor, product;
    PI::SplitSATAModelName(args.model, vendor, product);
    Rows rows{{"model", args.model}, {"vendor", vendor}, {"product", product}};
    Json json =
        Json::Object().Set("model", args.model).Set("vendor", vendor).Set("product", product);

    Result result;
    unsigned long long tableRpm = 0;
    bool rpmKnown = true;
    try {
        PI::GetSATARPM(vendor, product, tableRpm);
    } catch (const std::out_of_range&) {
        // The vendor's rules read fixed character positions of the product.
        rpmKnown = false;
        result.status = EXIT_NOT_FOUND;
        result.note = "product '" + product + "' is too short for the speed rules of " + vendor;
    }
    rows.emplace_back("rpm", rpmKnown ? std::to_string(tableRpm) : "unknown (product too short)");
    json.Set("rpm", rpmKnown ? Json(tableRpm) : Json());
    if (measured) {
        rows.emplace_back("measured rpm", std::to_string(measuredRpm));
        json.Set("measured_rpm", measuredRpm);
    }
    if (measured || rpmKnown) {
        float rounded = 0;
        PI::RoundRPM(measured ? measuredRpm : tableRpm, rounded);
        rows.emplace_back("speed class",
                          Thousands(rounded) + " rpm" + (measured ? " (of the measured rpm)" : ""));
        json.Set("rpm_class", rounded);
    }
    if (args.hasSerial) {
        std::string serial = args.serial;
        PI::CorrectSerialNumber(vendor, product, serial);
        rows.emplace_back(
            "serial", serial + (serial == args.serial ? "" : "  (reported " + args.serial + ")"));
        json.Set("serial", serial).Set("reported_serial", args.serial);
    }
    result.text = FormatRows(rows);
    result.json = std::move(json);
    return result;
}

} // namespace

void AddDriveCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<DriveArgs>();
    CLI::App* sub = AddSubcommand(
        app, call, "drive",
        "Vendor, product, speed and serial of a SATA drive from its ATA model string",
        "Splits the model string into vendor and product, looks up the rotation speed, rounds "
        "the measured or looked-up speed to its class and corrects the serial number. Exit "
        "status 1 when the product is too short for the vendor's speed rules.");
    sub->add_option("model", args->model, "ATA model string, e.g. \"WDC WD3000HLFS-01G6U0\"")
        ->required();
    sub->add_option("--serial", args->serial, "Serial number as the drive reports it");
    sub->add_option("--rpm", args->rpm, "Measured rotation speed, rounded to its class");
    sub->callback([&call, args, sub] {
        args->hasSerial = sub->count("--serial") > 0;
        call.run = [args] { return RunDrive(*args); };
    });
}

} // namespace pitool
