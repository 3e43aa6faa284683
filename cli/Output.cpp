// The program's own output: lines a person reads, or one JSON object.
#include "Cli.h"

#include <cstdio>
#include <sstream>

namespace cli {
namespace {

// The length of the valid UTF-8 sequence at text[i], or 0.
size_t utf8Length(const std::string& text, size_t i) {
    const auto byte = [&](size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0u; };
    const unsigned c = byte(i);
    // Lead bytes: C2-DF, E0-EF, F0-F4. C0 and C1 could only start overlong
    // forms; F5-FF start nothing.
    const size_t length = c >= 0xC2 && c <= 0xDF ? 2 : c >= 0xE0 && c <= 0xEF ? 3 : c >= 0xF0 && c <= 0xF4 ? 4 : 0;
    if (length == 0 || i + length > text.size()) return 0;
    for (size_t k = 1; k < length; ++k)
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    const unsigned second = byte(i + 1);
    if ((c == 0xE0 && second < 0xA0) || (c == 0xED && second > 0x9F) || (c == 0xF0 && second < 0x90) || (c == 0xF4 && second > 0x8F))
        return 0;   // overlong forms, UTF-16 surrogates, beyond U+10FFFF
    return length;
}

std::string meaningOf(const Command& command, const Outcome& outcome, std::string* label, bool* success) {
    const Code* code = findCode(command, outcome.result);
    *label = code ? code->label : std::to_string(outcome.result);
    *success = code && code->success;
    return code ? code->meaning : "a result this program does not know";
}

std::string operationOf(const Command& command, const Outcome& outcome) {
    return outcome.operation.empty() ? command.operation : outcome.operation;
}

}  // namespace

// A JSON string. Bytes that are not valid UTF-8 are written as the code
// points of the same number (as Latin-1 would read them), so the output is
// always valid JSON.
std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') out += "\\n";
        else if (c == '\t') out += "\\t";
        else if (c == '\r') out += "\\r";
        else if (c < 0x20 || (c >= 0x80 && utf8Length(text, i) == 0)) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else if (c >= 0x80) {
            const size_t length = utf8Length(text, i);
            out.append(text, i, length);
            i += length - 1;
        } else out += static_cast<char>(c);
    }
    return out + "\"";
}

std::string humanReport(const Command& command, const Outcome& outcome, const Verification& verify) {
    std::string label;
    bool success = false;
    const std::string meaning = meaningOf(command, outcome, &label, &success);
    std::ostringstream out;
    out << operationOf(command, outcome) << " -> " << label << ": " << meaning << "\n";
    for (const Field& field : outcome.fields) {
        for (const std::string& value : field.values) out << field.name << ":" << (value.empty() ? "" : " ") << value << "\n";
    }
    for (const std::string& item : outcome.list) out << item << "\n";
    if (verify.ran && verify.passed) out << "verify: " << verify.command << ": passed\n";
    if (verify.ran && !verify.passed) {
        out << "verify: " << verify.command << ": failed; "
            << (verify.restored == 0   ? std::string("no file had changed")
                : verify.restored == 1 ? std::string("1 file put back as it was")
                                       : std::to_string(verify.restored) + " files put back as they were")
            << "\n"
            << verify.message;
        if (!verify.message.empty() && verify.message.back() != '\n') out << "\n";
    }
    return out.str();
}

std::string jsonReport(const Command& command, const Outcome& outcome, const Verification& verify) {
    std::string label;
    bool success = false;
    const std::string meaning = meaningOf(command, outcome, &label, &success);
    if (label.size() == 3 && label[0] == '\'') label = label.substr(1, 1);
    std::ostringstream out;
    out << "{\"command\":" << jsonString(command.name) << ",\"operation\":" << jsonString(operationOf(command, outcome))
        << ",\"result\":" << outcome.result << ",\"code\":" << jsonString(label) << ",\"success\":" << (success ? "true" : "false")
        << ",\"meaning\":" << jsonString(meaning) << ",\"fields\":{";
    for (size_t i = 0; i < outcome.fields.size(); ++i) {
        const Field& field = outcome.fields[i];
        out << (i ? "," : "") << jsonString(field.name) << ":";
        if (!field.list) out << jsonString(field.values[0]);
        else {
            out << "[";
            for (size_t k = 0; k < field.values.size(); ++k) out << (k ? "," : "") << jsonString(field.values[k]);
            out << "]";
        }
    }
    out << "},\"list\":[";
    for (size_t i = 0; i < outcome.list.size(); ++i) out << (i ? "," : "") << jsonString(outcome.list[i]);
    out << "]";
    if (verify.ran)
        out << ",\"verify\":{\"command\":" << jsonString(verify.command) << ",\"passed\":" << (verify.passed ? "true" : "false")
            << ",\"restored\":" << verify.restored << ",\"message\":" << jsonString(verify.message) << "}";
    out << "}\n";
    return out.str();
}

}  // namespace cli
