// Uses a little of each part of the installed library and checks the answers.
// Usage: pi-consumer SCRATCH_DIR   (the configuration file is written there)
#include <PI/ConfigFile.h>
#include <PI/Helpers.h>
#include <PI/LogicalDrive.h>

#include <RVX/Strings.h>

#include <iostream>
#include <string>

// The tests' hooks are no part of the installed package.
#if __has_include(<PI/AllocHook.h>) || __has_include(<PI/ScanHook.h>) ||                        \
    __has_include(<RVX/TestHooks.h>)
#error "a header of the tests' hooks is installed"
#endif

namespace {

int failures = 0;

void Check(bool ok, const std::string& what) {
    if (!ok) {
        std::cerr << "pi-consumer: " << what << " failed\n";
        ++failures;
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: pi-consumer SCRATCH_DIR\n";
        return 2;
    }

    std::string vendor, product;
    PI::SplitSATAModelName("WDC WD3000HLFS-01G6U0", vendor, product);
    Check(vendor == "WDC" && product == "WD3000HLFS-01G6U0", "SplitSATAModelName");

    float value = 0;
    PI::_UNITS unit = PI::UNITS_BYTES;
    PI::ConvertBytesToOtherUnit(1048576, value, unit);
    Check(value == 1.0f && unit == PI::UNITS_MEGABYTES, "ConvertBytesToOtherUnit");

    RVX::Strings::CStringVar path;
    Check(PI::GetHelpPath(PI::OP_START_REBUILD, path) == 0 &&
              path.Str() == "actions.htm#OP_START_REBUILD",
          "GetHelpPath");

    const PI::CLogicalDrive drive(
        "<LogicalDriveConfiguration Size=\"1000\" Units=\"21002\"><Containers><Container>"
        "<Drive ObjectID=\"5\" StartAddress=\"0\" UsedSize=\"10\"/></Container></Containers>"
        "</LogicalDriveConfiguration>");
    Check(drive.Size == 1000 && drive.Containers.size() == 1 &&
              drive.Containers[0].Drives.size() == 1 && drive.Containers[0].Drives[0].ObjectID == 5,
          "CLogicalDrive from XML");

    PI::CConfigFile config;
    config.SetFilePath(std::string(argv[1]) + "/consumer.ini");
    std::string read;
    Check(config.WriteKeyValue("Answer", "42", 3, -1) == 0, "WriteKeyValue");
    Check(config.ReadKeyValue("Answer", read, 3, -1) == 0 && read == "42", "ReadKeyValue");

    if (failures != 0) {
        return 1;
    }
    std::cout << "pi-consumer: all checks passed\n";
    return 0;
}
