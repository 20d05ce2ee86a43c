// The stateless helpers: drive identity, sense data, help paths and icons,
// units, hex dumps, trimming and language-string matching.
#include "Binding.h"

#include <PI/Helpers.h>
#include <PI/SenseData.h>
#include <RVX/Language.h>

#include <pybind11/stl.h>

#include <climits>
#include <string>
#include <vector>

namespace pibind {

namespace {

// The bytes of a bytes-like object (bytes, bytearray, memoryview, ...).
std::vector<unsigned char> BytesArg(py::handle value, const char* what) {
    if (PyUnicode_Check(value.ptr()) || !PyObject_CheckBuffer(value.ptr()))
        throw py::type_error(std::string(what) + " must be a bytes-like object, not " +
                             std::string(py::str(py::type::of(value).attr("__name__"))));
    Py_buffer view;
    if (PyObject_GetBuffer(value.ptr(), &view, PyBUF_SIMPLE) != 0)
        throw py::error_already_set();
    const auto* data = static_cast<const unsigned char*>(view.buf);
    std::vector<unsigned char> bytes(data, data + view.len);
    PyBuffer_Release(&view);
    return bytes;
}

unsigned char ByteArg(py::handle value, const char* what) {
    return static_cast<unsigned char>(IntArg(value, 0, 255, what));
}

int Int32Arg(py::handle value, const char* what) {
    return static_cast<int>(IntArg(value, INT_MIN, INT_MAX, what));
}

py::object SenseKey(Int key) {
    std::string text;
    PI::_SEVERITY severity = PI::SEVERITY_INFORMATIONAL;
    PI::TranslateSenseKey(ByteArg(key, "key"), text, severity);
    return py::make_tuple(ToPy(text), ToEnum("Severity", severity));
}

py::object SenseASC(Int asc, Int ascq) {
    std::string text;
    if (PI::TranslateSenseASC(ByteArg(asc, "asc"), ByteArg(ascq, "ascq"), text) != 0)
        return py::none();
    return ToPy(text);
}

py::object KeySpecificToPy(const PI::CSenseKeySpecific& f) {
    if (f.Kind == PI::SKS_NONE)
        return py::none();
    return PackageAttr("pi._values", "SenseKeySpecific")(
        PI::SenseKeySpecificKindName(f.Kind), f.Valid,
        py::bytes(reinterpret_cast<const char*>(f.Bytes), 3), f.Command, f.SegmentDescriptor,
        f.BitPointerValid ? py::object(py::int_(f.BitPointer)) : py::none(), f.Pointer,
        f.RetryCount, f.Progress, f.Overflow);
}

py::object AtaToPy(const PI::CSenseAtaStatus& a) {
    return PackageAttr("pi._values", "AtaStatus")(a.Extend, a.Error, a.Status, a.Device, a.Count,
                                                  a.Lba, a.CountUpperNonZero, a.LbaUpperNonZero,
                                                  a.LogIndex);
}

py::object SenseToPy(const PI::CSenseData& sense);

py::object DescriptorToPy(const PI::CSenseData& sense, const PI::CSenseDescriptor& d) {
    const bool ata = d.Decoded && d.Type == PI::SENSE_DESC_ATA_STATUS;
    const bool specific = d.Decoded && (d.Type == PI::SENSE_DESC_KEY_SPECIFIC ||
                                        d.Type == PI::SENSE_DESC_DIRECT_ACCESS);
    py::dict fields;
    fields["type"] = d.Type;
    fields["offset"] = d.Offset;
    fields["additional_length"] = d.AdditionalLength;
    fields["data"] =
        py::bytes(reinterpret_cast<const char*>(sense.Bytes.data() + d.Offset), d.Size);
    fields["truncated"] = d.Truncated;
    fields["decoded"] = d.Decoded;
    fields["valid"] = d.Valid;
    fields["information"] = d.Information;
    fields["command_specific"] = d.CommandSpecific;
    fields["key_specific"] = specific ? KeySpecificToPy(d.KeySpecific) : py::none();
    fields["fru"] = d.Fru;
    fields["filemark"] = d.Filemark;
    fields["end_of_medium"] = d.EndOfMedium;
    fields["incorrect_length"] = d.IncorrectLength;
    fields["ata"] = ata ? AtaToPy(d.Ata) : py::none();
    fields["key"] = d.Key;
    fields["asc"] = d.ASC;
    fields["ascq"] = d.ASCQ;
    fields["progress"] = d.Progress;
    fields["forwarded_by_target"] = d.ForwardedByTarget;
    fields["forwarded_source"] = d.ForwardedSource;
    fields["forwarded_status"] = d.ForwardedStatus;
    fields["forwarded"] = d.Forwarded.empty() ? py::none() : SenseToPy(d.Forwarded.front());
    return PackageAttr("pi._values", "SenseDescriptor")(**fields);
}

py::object SenseToPy(const PI::CSenseData& sense) {
    std::string keyText;
    PI::_SEVERITY severity = PI::SEVERITY_INFORMATIONAL;
    PI::TranslateSenseKey(sense.Key, keyText, severity);
    std::string ascText;
    const bool known = PI::TranslateSenseASC(sense.ASC, sense.ASCQ, ascText) == 0;
    py::dict fields;
    fields["response_code"] = sense.ResponseCode;
    fields["descriptor"] = sense.Descriptor;
    fields["deferred"] = sense.Deferred;
    fields["key"] = sense.Key;
    fields["asc"] = sense.ASC;
    fields["ascq"] = sense.ASCQ;
    fields["information"] =
        sense.InformationValid ? py::object(py::int_(sense.Information)) : py::none();
    fields["key_text"] = ToPy(keyText);
    fields["severity"] = ToEnum("Severity", severity);
    fields["asc_text"] = known ? py::object(ToPy(ascText)) : py::none();
    fields["information_field"] = sense.Information;
    fields["additional_length"] = sense.AdditionalLength;
    fields["length"] = sense.Length;
    fields["truncated"] = sense.Truncated;
    fields["remark"] = sense.Remark.empty() ? py::none() : py::object(ToPy(sense.Remark));
    fields["overflow"] = sense.Overflow;
    fields["filemark"] = sense.Filemark;
    fields["end_of_medium"] = sense.EndOfMedium;
    fields["incorrect_length"] = sense.IncorrectLength;
    fields["command_specific"] =
        sense.CommandSpecificValid ? py::object(py::int_(sense.CommandSpecific)) : py::none();
    fields["fru"] = sense.Fru;
    fields["key_specific"] = KeySpecificToPy(sense.KeySpecific);
    fields["ata"] = sense.AtaValid ? AtaToPy(sense.Ata) : py::none();
    py::list descriptors;
    for (const PI::CSenseDescriptor& d : sense.Descriptors)
        descriptors.append(DescriptorToPy(sense, d));
    fields["descriptors"] = descriptors;
    return PackageAttr("pi._values", "SenseData")(**fields);
}

py::object DecodeSense(Buffer buffer) {
    const std::vector<unsigned char> bytes = BytesArg(buffer, "data");
    PI::CSenseData sense;
    std::string error;
    const PI::_SENSE_DECODE result = PI::DecodeSenseData(bytes.data(), bytes.size(), sense, error);
    if (result != PI::SENSE_OK)
        RaiseAs("SenseDataError", result, error);
    return SenseToPy(sense);
}

py::object SplitModel(Str model) {
    std::string vendor, product;
    PI::SplitSATAModelName(TextArg(model, "model"), vendor, product);
    return py::make_tuple(ToPy(vendor), ToPy(product));
}

unsigned long long SataRPM(Str vendor, Str product) {
    unsigned long long rpm = 0;
    PI::GetSATARPM(TextArg(vendor, "vendor"), TextArg(product, "product"), rpm);
    return rpm;
}

py::str CorrectSerial(Str vendor, Str product, Str serial) {
    std::string text = TextArg(serial, "serial");
    PI::CorrectSerialNumber(TextArg(vendor, "vendor"), TextArg(product, "product"), text);
    return ToPy(text);
}

float RoundRPM(Int rpm) {
    float thousands = 0;
    PI::RoundRPM(U64Arg(rpm, "rpm"), thousands);
    return thousands;
}

py::object HelpPath(Int id) {
    RVX::Strings::CStringVar path;
    if (PI::GetHelpPath(Int32Arg(id, "id"), path) != 0)
        return py::none();
    return ToPy(path.Str());
}

py::object IconPath(Int id) {
    RVX::Strings::CStringVar file;
    if (PI::GetIconPath(Int32Arg(id, "id"), file) != 0)
        return py::none();
    return ToPy(file.Str());
}

py::object StatusIcon(Int state, Int media, Bool overlay, Bool foreign, Int power) {
    return py::int_(PI::GetPDStatusIcon(Int32Arg(state, "state"), Int32Arg(media, "media"),
                                        BoolArg(overlay, "overlay"), BoolArg(foreign, "foreign"),
                                        Int32Arg(power, "power")));
}

py::str Trim(Str text) {
    const std::string in = TextArg(text, "text");
    RVX::Strings::CStringVar out;
    PI::Trim(RVX::Strings::CStringRef(in), out);
    return ToPy(out.Str());
}

py::str Conform(Str text) {
    std::string out;
    PI::GenXMLNodeConformantString(TextArg(text, "text"), out);
    return ToPy(out);
}

py::tuple ConvertBytes(Int bytes) {
    float value = 0;
    PI::_UNITS unit = PI::UNITS_BYTES;
    PI::ConvertBytesToOtherUnit(U64Arg(bytes, "byte count"), value, unit);
    return py::make_tuple(value, ToEnum("Units", unit));
}

py::str HexDump(Buffer data, Int first, OptionalInt end) {
    std::vector<unsigned char> bytes = BytesArg(data, "data");
    const long long size = static_cast<long long>(bytes.size());
    const long long from = IntArg(first, 0, size, "first");
    const long long to = end.is_none() ? size : IntArg(end, from, size, "end");
    std::string out;
    bytes.push_back(0); // data() is valid even for an empty buffer
    PI::HexDump(out, bytes.data(), static_cast<unsigned int>(from), static_cast<unsigned int>(to));
    return ToPy(out);
}

} // namespace

void RegisterHelpers(py::module_& m) {
    m.def("translate_sense_key", &SenseKey, py::arg("key"),
          "(text, Severity) of a sense key; only the low four bits count.");
    m.def("translate_sense_asc", &SenseASC, py::arg("asc"), py::arg("ascq"),
          "Text of an additional sense code and qualifier, or None when the pair is unknown.");
    m.def("decode_sense", &DecodeSense, py::arg("data"),
          "Decodes a raw sense buffer (fixed format 70h/71h or descriptor format 72h/73h)\n"
          "into a SenseData with every field and descriptor. Raises SenseDataError when\n"
          "the buffer is empty, longer than 252 bytes, of another format or shorter than\n"
          "its format needs.");
    m.def("split_sata_model_name", &SplitModel, py::arg("model"),
          "(vendor, product) derived from an ATA model string.");
    m.def("get_sata_rpm", &SataRPM, py::arg("vendor"), py::arg("product"),
          "Nominal spindle speed of a drive; 7200 unless a rule knows better.");
    m.def("correct_serial_number", &CorrectSerial, py::arg("vendor"), py::arg("product"),
          py::arg("serial"), "The serial number without vendor decoration.");
    m.def("round_rpm", &RoundRPM, py::arg("rpm"),
          "The nominal speed class in thousands of RPM (4.2, 5.4, 7.2, 10, 15, 20).");
    m.def("get_help_path", &HelpPath, py::arg("id"),
          "Help page and anchor of a property or operation id, or None.");
    m.def("get_icon_path", &IconPath, py::arg("id"), "Image file of an icon id, or None.");
    m.def("get_pd_status_icon", &StatusIcon, py::arg("state"), py::arg("media"), py::arg("overlay"),
          py::arg("foreign"), py::arg("power"),
          "Status icon id of a physical drive (see PDState, MediaType, PowerState).");
    m.def(
        "is_adapter_type",
        [](Int type) {
            return PI::IsAdapterType(static_cast<PI::_OBJECT_TYPE>(Int32Arg(type, "type")));
        },
        py::arg("type"), "True for the eight controller kinds.");
    m.def("trim", &Trim, py::arg("text"), "The text without leading and trailing white space.");
    m.def("gen_xml_node_conformant_string", &Conform, py::arg("text"),
          "The text without the bytes that cannot stand in an XML element name.");
    m.def(
        "match_nls",
        [](Str text, Int id, Bool conform) {
            return PI::MatchNLS(TextArg(text, "text"), Int32Arg(id, "string_id"),
                                BoolArg(conform, "conform"));
        },
        py::arg("text"), py::arg("string_id"), py::arg("conform") = false,
        "True when text equals language string string_id, ignoring case.");
    m.def(
        "set_language_string",
        [](Int id, Str text) {
            RVX::Language_Support::CLanguageSupport::SetString(
                static_cast<unsigned int>(IntArg(id, 0, UINT_MAX, "string_id")),
                TextArg(text, "text"));
        },
        py::arg("string_id"), py::arg("text"),
        "Gives the language string string_id a text (for match_nls and event placeholders).");
    m.def("convert_bytes_to_other_unit", &ConvertBytes, py::arg("byte_count"),
          "(value, Units): the byte count in the largest unit that keeps it at 1 or more.");
    m.def("hex_dump", &HexDump, py::arg("data"), py::arg("first") = 0, py::arg("end") = py::none(),
          "Bytes [first, end) of data as upper-case hex pairs separated by blanks.");
}

} // namespace pibind
