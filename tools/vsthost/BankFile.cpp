#include "tools/vsthost/BankFile.h"

#include "tools/vsthost/PluginHost.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace vsthost {

namespace {

constexpr int32_t kCcnK = vstFourCC('C', 'c', 'n', 'K');
constexpr int32_t kFPCh = vstFourCC('F', 'P', 'C', 'h');
constexpr int32_t kFxCk = vstFourCC('F', 'x', 'C', 'k');
constexpr int32_t kFBCh = vstFourCC('F', 'B', 'C', 'h');
constexpr int32_t kFxBk = vstFourCC('F', 'x', 'B', 'k');

constexpr size_t kNameField = 28;  // program name in program files
constexpr size_t kReserved = 128;  // after numPrograms in bank files
constexpr int32_t kMaxCount = 1 << 20;

class Reader {
public:
    explicit Reader(const std::vector<uint8_t>& bytes) : bytes_(bytes) {}
    size_t position() const { return pos_; }
    size_t remaining() const { return bytes_.size() - pos_; }

    int32_t word() {
        need(4);
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i)
            v = (v << 8) | bytes_[pos_++];
        return (int32_t)v;
    }
    float real() {
        const int32_t bits = word();
        float value;
        memcpy(&value, &bits, sizeof value);
        return value;
    }
    std::string text(size_t size) {
        need(size);
        const char* begin = reinterpret_cast<const char*>(&bytes_[pos_]);
        pos_ += size;
        return std::string(begin, strnlen(begin, size));
    }
    std::vector<uint8_t> bytes(size_t size) {
        need(size);
        std::vector<uint8_t> out(bytes_.begin() + pos_, bytes_.begin() + pos_ + size);
        pos_ += size;
        return out;
    }
    void skip(size_t size) {
        need(size);
        pos_ += size;
    }

private:
    void need(size_t size) const {
        if (size > remaining())
            throw BankFileError("the file is cut short at byte " + std::to_string(pos_));
    }
    const std::vector<uint8_t>& bytes_;
    size_t pos_ = 0;
};

class Writer {
public:
    void word(int32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            out.push_back((uint8_t)((uint32_t)value >> shift));
    }
    void real(float value) {
        int32_t bits;
        memcpy(&bits, &value, sizeof bits);
        word(bits);
    }
    void text(const std::string& s, size_t size) {
        for (size_t i = 0; i < size; ++i)
            out.push_back(i < s.size() && i + 1 < size ? (uint8_t)s[i] : 0);
    }
    void bytes(const std::vector<uint8_t>& data) { out.insert(out.end(), data.begin(), data.end()); }
    void zeros(size_t size) { out.insert(out.end(), size, 0); }
    std::vector<uint8_t> out;
};

int32_t checkedCount(int32_t count, const char* what) {
    if (count < 0 || count > kMaxCount)
        throw BankFileError(std::string("implausible number of ") + what + ": " +
                            std::to_string(count));
    return count;
}

// One program record inside a program file or a parameter bank, from its
// "CcnK" on; fills the common fields of `patch` when `patch` is not null.
PatchProgram readProgramRecord(Reader& in, PatchFile* patch) {
    if (in.word() != kCcnK)
        throw BankFileError("a program record does not start with \"CcnK\"");
    in.word();  // byte size: not trusted, the fields say it all
    const int32_t magic = in.word();
    const int32_t version = in.word();
    const int32_t fxId = in.word();
    const int32_t fxVersion = in.word();
    const int32_t count = checkedCount(in.word(), "parameters");
    PatchProgram program;
    program.name = in.text(kNameField);
    if (patch) {
        patch->formatVersion = version;
        patch->fxId = fxId;
        patch->fxVersion = fxVersion;
        patch->numPrograms = count;
        patch->programName = program.name;
    }
    if (magic == kFxCk) {
        if (patch)
            patch->kind = PatchFile::Kind::ProgramParams;
        for (int32_t i = 0; i < count; ++i)
            program.params.push_back(in.real());
    } else if (magic == kFPCh && patch) {
        patch->kind = PatchFile::Kind::ProgramChunk;
        const int32_t size = in.word();
        if (size < 0)
            throw BankFileError("negative chunk size");
        patch->chunk = in.bytes((size_t)size);
    } else {
        throw BankFileError("unknown program record type \"" + fourCCText(magic) + "\"");
    }
    return program;
}

void writeProgramRecord(Writer& out, const PatchFile& patch, const PatchProgram& program) {
    const bool chunk = patch.kind == PatchFile::Kind::ProgramChunk;
    const size_t body = 5 * 4 + kNameField +
                        (chunk ? 4 + patch.chunk.size() : 4 * program.params.size());
    out.word(kCcnK);
    out.word((int32_t)body);  // size of everything after this field
    out.word(chunk ? kFPCh : kFxCk);
    out.word(patch.formatVersion);
    out.word(patch.fxId);
    out.word(patch.fxVersion);
    out.word(chunk ? patch.numPrograms : (int32_t)program.params.size());
    out.text(program.name, kNameField);
    if (chunk) {
        out.word((int32_t)patch.chunk.size());
        out.bytes(patch.chunk);
    } else {
        for (float v : program.params)
            out.real(v);
    }
}

}  // namespace

PatchFile parsePatch(const std::vector<uint8_t>& bytes) {
    Reader in(bytes);
    if (bytes.size() < 12)
        throw BankFileError("too short for a program or bank file");
    Reader peek(bytes);
    if (peek.word() != kCcnK)
        throw BankFileError("not a program or bank file (no \"CcnK\")");
    peek.word();
    const int32_t magic = peek.word();

    PatchFile patch;
    if (magic == kFxCk || magic == kFPCh) {
        PatchProgram program = readProgramRecord(in, &patch);
        if (patch.kind == PatchFile::Kind::ProgramParams)
            patch.programs.push_back(program);
        return patch;
    }
    if (magic != kFBCh && magic != kFxBk)
        throw BankFileError("unknown file type \"" + fourCCText(magic) + "\"");

    in.skip(12);
    patch.kind = magic == kFBCh ? PatchFile::Kind::BankChunk : PatchFile::Kind::BankParams;
    patch.formatVersion = in.word();
    patch.fxId = in.word();
    patch.fxVersion = in.word();
    patch.numPrograms = checkedCount(in.word(), "programs");
    const int32_t current = in.word();
    patch.currentProgram = patch.formatVersion >= 2 ? current : -1;
    in.skip(kReserved - 4);
    if (patch.kind == PatchFile::Kind::BankChunk) {
        const int32_t size = in.word();
        if (size < 0)
            throw BankFileError("negative chunk size");
        patch.chunk = in.bytes((size_t)size);
    } else {
        for (int32_t i = 0; i < patch.numPrograms; ++i)
            patch.programs.push_back(readProgramRecord(in, nullptr));
    }
    return patch;
}

std::vector<uint8_t> serializePatch(const PatchFile& patch) {
    Writer out;
    if (!patch.isBank()) {
        PatchProgram program;
        program.name = patch.programName;
        if (patch.kind == PatchFile::Kind::ProgramParams && !patch.programs.empty())
            program.params = patch.programs[0].params;
        writeProgramRecord(out, patch, program);
        return out.out;
    }
    out.word(kCcnK);
    out.word(0);  // byte size, filled in below
    out.word(patch.kind == PatchFile::Kind::BankChunk ? kFBCh : kFxBk);
    out.word(patch.formatVersion);
    out.word(patch.fxId);
    out.word(patch.fxVersion);
    out.word(patch.kind == PatchFile::Kind::BankChunk ? patch.numPrograms
                                                       : (int32_t)patch.programs.size());
    out.word(patch.formatVersion >= 2 ? patch.currentProgram : 0);
    out.zeros(kReserved - 4);
    if (patch.kind == PatchFile::Kind::BankChunk) {
        out.word((int32_t)patch.chunk.size());
        out.bytes(patch.chunk);
    } else {
        PatchFile record = patch;
        record.kind = PatchFile::Kind::ProgramParams;
        for (const PatchProgram& program : patch.programs)
            writeProgramRecord(out, record, program);
    }
    const int32_t byteSize = (int32_t)(out.out.size() - 8);
    for (int i = 0; i < 4; ++i)
        out.out[4 + i] = (uint8_t)((uint32_t)byteSize >> (24 - 8 * i));
    return out.out;
}

PatchFile readPatchFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw BankFileError("cannot open " + path);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                               std::istreambuf_iterator<char>());
    try {
        return parsePatch(bytes);
    } catch (const BankFileError& e) {
        throw BankFileError(path + ": " + e.what());
    }
}

void writePatchFile(const std::string& path, const PatchFile& patch) {
    const std::vector<uint8_t> bytes = serializePatch(patch);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), (std::streamsize)bytes.size());
    if (!file)
        throw BankFileError("cannot write " + path);
}

PatchFile capturePatch(PluginHost& host, bool bank) {
    PatchFile patch;
    patch.fxId = host.uniqueId();
    patch.fxVersion = host.version();
    const bool chunks = host.hasFlag(effFlagsProgramChunks);
    const int current = host.currentProgram();
    auto readParams = [&host]() {
        std::vector<float> values;
        for (int i = 0; i < host.numParams(); ++i)
            values.push_back(host.getParam(i));
        return values;
    };
    if (!bank) {
        patch.kind = chunks ? PatchFile::Kind::ProgramChunk : PatchFile::Kind::ProgramParams;
        patch.programName = host.programName();
        patch.numPrograms = host.numParams();
        if (chunks)
            patch.chunk = host.getChunk(true);
        else
            patch.programs.push_back({patch.programName, readParams()});
        return patch;
    }
    patch.formatVersion = 2;
    patch.currentProgram = current;
    patch.numPrograms = host.numPrograms();
    if (chunks) {
        patch.kind = PatchFile::Kind::BankChunk;
        patch.chunk = host.getChunk(false);
        return patch;
    }
    patch.kind = PatchFile::Kind::BankParams;
    for (int p = 0; p < host.numPrograms(); ++p) {
        host.setProgram(p);
        patch.programs.push_back({host.programName(), readParams()});
    }
    host.setProgram(current);
    return patch;
}

void applyPatch(PluginHost& host, const PatchFile& patch) {
    if (patch.fxId != host.uniqueId())
        throw BankFileError("the file is for plug-in ID \"" + fourCCText(patch.fxId) +
                            "\", this plug-in is \"" + fourCCText(host.uniqueId()) + "\"");
    if (patch.isChunk()) {
        if (!host.hasFlag(effFlagsProgramChunks))
            throw BankFileError("the file holds a chunk, but the plug-in takes no chunks");
        host.setChunk(patch.chunk, !patch.isBank());
        return;
    }
    auto loadProgram = [&host](const PatchProgram& program) {
        if ((int)program.params.size() != host.numParams())
            throw BankFileError("the file has " + std::to_string(program.params.size()) +
                                " parameters, the plug-in " + std::to_string(host.numParams()));
        host.setProgramName(program.name);
        for (int i = 0; i < (int)program.params.size(); ++i)
            host.setParam(i, program.params[i]);
    };
    if (!patch.isBank()) {
        if (patch.programs.empty())
            throw BankFileError("the program file holds no values");
        loadProgram(patch.programs[0]);
        return;
    }
    const int count = std::min((int)patch.programs.size(), host.numPrograms());
    for (int p = 0; p < count; ++p) {
        host.setProgram(p);
        loadProgram(patch.programs[p]);
    }
    if (patch.currentProgram >= 0 && patch.currentProgram < host.numPrograms())
        host.setProgram(patch.currentProgram);
    else if (count > 0)
        host.setProgram(0);
}

}  // namespace vsthost
