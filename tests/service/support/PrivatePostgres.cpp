#include "support/PrivatePostgres.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace quillmarsh::service::test {

namespace {

const std::string binaries = POSTGRES_BINARIES;

} // namespace

PrivatePostgres::PrivatePostgres()
{
    namespace fs = std::filesystem;
    const std::string data = folder_.path("data");
    fs::create_directory(data);
    if (::geteuid() == 0) {
        prefix_ = "runuser -u postgres -- ";
        fs::permissions(folder_.path(), fs::perms::all);
        run("chown -R postgres " + folder_.path());
    }
    run(prefix_ + binaries + "/initdb -A trust -U quillmarsh --no-sync -D " + data);
    start();
}

PrivatePostgres::~PrivatePostgres()
{
    try {
        stop();
    } catch (const std::exception&) {
        // the folder goes away with the test; nothing else to give back
    }
}

std::string PrivatePostgres::connection() const
{
    return "host=" + folder_.path() + " user=quillmarsh dbname=postgres";
}

void PrivatePostgres::crashAndRestart()
{
    stop();
    start();
}

void PrivatePostgres::start()
{
    run(prefix_ + binaries + "/pg_ctl -D " + folder_.path("data") + " -w -l " + folder_.path("server.log") +
        " -o \"-k " + folder_.path() + " -c listen_addresses='' -c max_connections=60\" start");
}

void PrivatePostgres::stop()
{
    run(prefix_ + binaries + "/pg_ctl -D " + folder_.path("data") + " -w -m immediate stop");
}

void PrivatePostgres::run(const std::string& command) const
{
    if (std::system(("cd / && " + command + " >>" + folder_.path("output") + " 2>&1").c_str()) != 0) {
        throw std::runtime_error("failed: " + command + "\n" + readWhole(folder_.path("output")));
    }
}

} // namespace quillmarsh::service::test
