// The library's side of the interop test with Python's readers: writes the
// format page's examples and random records in both formats, and reads
// documents that Python wrote.
//
//   interchange_tool examples <interchange.md> <directory>
//   interchange_tool random <seed> <count> <directory>
//   interchange_tool read <file.json | file.msgpack>
//                       prints the document as the library writes it in JSON
#include "RecordGenerator.h"

#include <PI/Interchange.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

bool WriteFile(const std::string& path, const void* data, size_t size) {
    std::ofstream out(path, std::ios::binary);
    out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    return static_cast<bool>(out);
}

template <class Record> bool WriteBoth(const Record& record, const std::string& stem) {
    std::string json;
    std::vector<std::uint8_t> packed;
    PI::CInterchangeError error;
    if (PI::WriteJsonDocument(record, json, &error) != 0 ||
        PI::WriteMsgPackDocument(record, packed, &error) != 0) {
        std::cerr << stem << ": " << error.Text() << "\n";
        return false;
    }
    return WriteFile(stem + ".json", json.data(), json.size()) &&
           WriteFile(stem + ".msgpack", packed.data(), packed.size());
}

int Examples(const std::string& page, const std::string& directory) {
    const std::string text = ReadFile(page);
    size_t at = 0;
    int index = 0;
    while ((at = text.find("```json\n", at)) != std::string::npos) {
        at += 8;
        const size_t end = text.find("```", at);
        const std::string example = text.substr(at, end - at);
        at = end + 3;
        PI::AnyRecord record;
        PI::CInterchangeError error;
        if (PI::ReadJsonDocument(example, record, &error) != 0) {
            std::cerr << "example " << index << ": " << error.Text() << "\n";
            return 1;
        }
        const std::string stem = directory + "/example" + std::to_string(index++);
        if (!std::visit([&](const auto& r) { return WriteBoth(r, stem); }, record))
            return 1;
    }
    std::cout << index << "\n";
    return 0;
}

int Random(unsigned long long seed, int count, const std::string& directory) {
    PI::Testing::RecordGenerator generator(seed);
    for (int i = 0; i < count; ++i) {
        const std::string stem = directory + "/random" + std::to_string(i);
        if (!(i % 2 == 0 ? WriteBoth(generator.Operation(), stem)
                         : WriteBoth(generator.Record<PI::CTask>(), stem)))
            return 1;
    }
    return 0;
}

int Read(const std::string& path) {
    const std::string bytes = ReadFile(path);
    PI::AnyRecord record;
    PI::CInterchangeError error;
    const bool packed = path.size() > 8 && path.compare(path.size() - 8, 8, ".msgpack") == 0;
    const unsigned int code =
        packed ? PI::ReadMsgPackDocument(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                         bytes.size(), record, &error)
               : PI::ReadJsonDocument(bytes, record, &error);
    if (code != 0) {
        std::cerr << error.Text() << "\n";
        return 1;
    }
    std::string json;
    std::visit([&](const auto& r) { PI::WriteJsonDocument(r, json); }, record);
    std::cout << json << "\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 3 && args[0] == "examples")
        return Examples(args[1], args[2]);
    if (args.size() == 4 && args[0] == "random")
        return Random(std::stoull(args[1]), std::stoi(args[2]), args[3]);
    if (args.size() == 2 && args[0] == "read")
        return Read(args[1]);
    std::cerr << "usage: interchange_tool examples|random|read ...\n";
    return 2;
}
