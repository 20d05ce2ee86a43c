// pitool ld: a "LogicalDriveConfiguration" document as the library reads it.
#include "Commands.h"
#include "Units.h"

#include <PI/LogicalDrive.h>
#include <RVX/Markup.h>

#include <CLI/CLI.hpp>

#include <boost/lexical_cast.hpp>

#include <memory>

namespace pitool {

namespace {

// Reads a number attribute the way the library does, so that a document
// that would make the record fail is refused here with the place named.
void CheckNumber(const RVX::XML::CMarkup& markup, const char* attribute, const std::string& where,
                 const std::string& file) {
    const std::string text = markup.GetAttrib(attribute);
    const std::string at = "'" + file + "': " + where + ": attribute " + attribute;
    if (text.empty()) {
        Fail(at + " is missing or empty");
    }
    try {
        boost::lexical_cast<unsigned long long>(text);
    } catch (const boost::bad_lexical_cast&) {
        Fail(at + " '" + text + "' is not a number");
    }
}

void CheckIdList(RVX::XML::CMarkup& markup, const char* list, const char* item,
                 const std::string& file) {
    markup.x_SetPos(0, 0, 0);
    if (!markup.FindElem(list)) {
        return;
    }
    markup.IntoElem();
    for (int n = 1; markup.FindElem(item); ++n) {
        CheckNumber(markup, "ObjectID", std::string(list) + " " + item + " " + std::to_string(n),
                    file);
    }
    markup.OutOfElem();
}

// Walks the elements that the record reads, in the same order.
void CheckDocument(const std::string& xml, const std::string& file) {
    RVX::XML::CMarkup markup;
    if (!markup.SetDoc(xml)) {
        Fail("'" + file + "' is not well-formed XML");
    }
    if (!markup.FindElem("LogicalDriveConfiguration")) {
        Fail("'" + file + "' has no LogicalDriveConfiguration element at the top level");
    }
    CheckNumber(markup, "Size", "LogicalDriveConfiguration", file);
    CheckNumber(markup, "Units", "LogicalDriveConfiguration", file);
    markup.IntoElem();
    if (markup.FindElem("Containers")) {
        markup.IntoElem();
        for (int c = 1; markup.FindElem("Container"); ++c) {
            markup.IntoElem();
            for (int d = 1; markup.FindElem("Drive"); ++d) {
                const std::string where =
                    "Container " + std::to_string(c) + " Drive " + std::to_string(d);
                for (const char* attribute : {"ObjectID", "StartAddress", "UsedSize"}) {
                    CheckNumber(markup, attribute, where, file);
                }
            }
            markup.OutOfElem();
        }
    }
    CheckIdList(markup, "GlobalHotSpares", "Drive", file);
    CheckIdList(markup, "DedicatedHotSpares", "Drive", file);
    CheckIdList(markup, "AssociatedLogicalDrives", "LogicalDrive", file);
}

std::string IdList(const std::vector<unsigned long long>& ids) {
    if (ids.empty()) {
        return "none";
    }
    std::string text;
    for (const auto id : ids) {
        text += (text.empty() ? "" : ", ") + std::to_string(id);
    }
    return text;
}

Json IdArray(const std::vector<unsigned long long>& ids) {
    Json array = Json::Array();
    for (const auto id : ids) {
        array.Push(id);
    }
    return array;
}

Result RunLd(const std::string& file) {
    const std::string xml = ReadFileOrStdin(file);
    CheckDocument(xml, file);
    PI::CLogicalDrive drive;
    try {
        drive = PI::CLogicalDrive(xml);
    } catch (const boost::bad_lexical_cast&) {
        Fail("'" + file + "' has an attribute that is missing or not a number");
    }

    const int units = static_cast<int>(drive.Units);
    const std::string symbol = UnitSymbol(units);
    const std::string unitName = UnitName(units);
    std::string size = std::to_string(drive.Size) + (symbol.empty() ? "" : " " + symbol) +
                       "  (units " + std::to_string(units) +
                       (unitName.empty() ? "" : " " + unitName) + ")";
    Rows rows{{"size", size}, {"containers", std::to_string(drive.GetContainerCount())}};
    Json containers = Json::Array();
    std::string pieces;
    for (unsigned int c = 0; c < drive.GetContainerCount(); ++c) {
        PI::CContainer& container = drive.GetContainer(c);
        pieces += "  container " + std::to_string(c + 1) + ": " +
                  std::to_string(container.GetDriveCount()) + " pieces\n";
        Json drives = Json::Array();
        Rows pieceRows;
        for (unsigned int d = 0; d < container.GetDriveCount(); ++d) {
            const PI::CDrive& piece = container.GetDrive(d);
            pieceRows.emplace_back("drive " + std::to_string(piece.ObjectID),
                                   "start " + std::to_string(piece.StartAddress) + "  used " +
                                       std::to_string(piece.UsedSize));
            drives.Push(Json::Object()
                            .Set("object_id", piece.ObjectID)
                            .Set("start_address", piece.StartAddress)
                            .Set("used_size", piece.UsedSize));
        }
        pieces += FormatRows(pieceRows, 4);
        containers.Push(Json::Object().Set("drives", std::move(drives)));
    }
    Rows spares{{"global hot spares", IdList(drive.GHS)},
                {"dedicated hot spares", IdList(drive.DHS)},
                {"associated drives", IdList(drive.ALD)}};

    Result result;
    const size_t width = std::string("dedicated hot spares").size();
    result.text = FormatRows(rows, 0, width) + pieces + FormatRows(spares, 0, width);
    result.json = Json::Object()
                      .Set("file", file)
                      .Set("size", drive.Size)
                      .Set("units", units)
                      .Set("unit_name", unitName.empty() ? Json() : Json(unitName))
                      .Set("containers", std::move(containers))
                      .Set("global_hot_spares", IdArray(drive.GHS))
                      .Set("dedicated_hot_spares", IdArray(drive.DHS))
                      .Set("associated_logical_drives", IdArray(drive.ALD));
    return result;
}

} // namespace

void AddLdCommand(CLI::App& app, Invocation& call) {
    auto file = std::make_shared<std::string>();
    CLI::App* sub = AddSubcommand(
        app, call, "ld", "The logical drive described by a LogicalDriveConfiguration document",
        "Shows size and unit, the containers with their drive pieces (object id, start, used "
        "size), the global and dedicated hot spares and the associated logical drives. A "
        "document that does not parse or has a bad number attribute gives exit status 2.");
    sub->add_option("file", *file, "The XML document; - reads standard input")->required();
    sub->callback([&call, file] { call.run = [file] { return RunLd(*file); }; });
}

} // namespace pitool
