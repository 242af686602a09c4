#include "http/UpdateFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

#include <nlohmann/json.hpp>

#include "base/Log.h"
#include "base/Text.h"
#include "http/Answers.h"

namespace quillmarsh::service {

namespace {

using Json = nlohmann::json;

constexpr size_t chunkBytes = 64UL * 1024UL;

const Problem noRelease{404, "no_release", "This host doesn’t publish releases."};
const Problem brokenRelease{503, "release_unavailable",
                            "The release information is temporarily unavailable."};

std::optional<std::string> readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return file ? std::optional(bytes.str()) : std::nullopt;
}

bool isNumber(std::string_view piece)
{
    return !piece.empty() && piece.size() <= 18 &&
           piece.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isVersion(std::string_view text)
{
    int pieces = 0;
    for (;;) {
        const size_t dot = text.find('.');
        if (!isNumber(text.substr(0, dot)) || ++pieces > 4) {
            return false;
        }
        if (dot == std::string_view::npos) {
            return true;
        }
        text.remove_prefix(dot + 1);
    }
}

bool areNotes(const Json& notes)
{
    return notes.is_array() &&
           std::all_of(notes.begin(), notes.end(), [](const Json& n) { return n.is_string(); });
}

} // namespace

bool isUpdateManifest(const std::string& bytes)
{
    const Json manifest = Json::parse(bytes, nullptr, false);
    if (!manifest.is_object() || !manifest.contains("version") || !manifest.contains("url")) {
        return false;
    }
    const Json& version = manifest["version"];
    const Json& url = manifest["url"];
    return version.is_string() && isVersion(version.get_ref<const std::string&>()) && url.is_string() &&
           url.get_ref<const std::string&>().starts_with("https://") &&
           (!manifest.contains("notes") || areNotes(manifest["notes"]));
}

void UpdateFiles::answerManifest(httplib::Response& response) const
{
    if (config_.manifestFile.empty()) {
        writeProblem(response, noRelease);
        return;
    }
    const auto bytes = readFile(config_.manifestFile);
    if (!bytes || !isUpdateManifest(*bytes)) {
        logWarning("the update manifest cannot be read or is not valid");
        writeProblem(response, brokenRelease);
        return;
    }
    response.status = 200;
    response.set_content(*bytes, "application/json");
}

void UpdateFiles::answerDownload(httplib::Response& response) const
{
    if (!config_.downloadFile.empty()) {
        sendFile(response);
        return;
    }
    std::string address = config_.downloadUrl;
    if (address.empty() && !config_.manifestFile.empty()) {
        const auto bytes = readFile(config_.manifestFile);
        if (bytes && isUpdateManifest(*bytes)) {
            address = Json::parse(*bytes)["url"].get<std::string>();
        }
    }
    if (address.empty()) {
        writeProblem(response, config_.manifestFile.empty() ? noRelease : brokenRelease);
        return;
    }
    response.set_redirect(address, 302);
}

void UpdateFiles::sendFile(httplib::Response& response) const
{
    std::error_code error;
    const auto size = std::filesystem::file_size(config_.downloadFile, error);
    auto file = std::make_shared<std::ifstream>(config_.downloadFile, std::ios::binary);
    if (error || !*file) {
        logWarning("the release archive cannot be read");
        writeProblem(response, brokenRelease);
        return;
    }
    const std::string name = std::filesystem::path(config_.downloadFile).filename();
    response.status = 200;
    response.set_header("Content-Disposition", "attachment; filename=\"" + name + "\"");
    response.set_content_provider(size, "application/octet-stream",
                                  [file](size_t offset, size_t length, httplib::DataSink& sink) {
                                      std::string chunk(std::min(length, chunkBytes), '\0');
                                      file->seekg(static_cast<std::streamoff>(offset));
                                      file->read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
                                      return file->gcount() == static_cast<std::streamsize>(chunk.size()) &&
                                             sink.write(chunk.data(), chunk.size());
                                  });
}

} // namespace quillmarsh::service
