// bench_Service BINARY: the load figures of the rewrite service with its offline engine, over loopback.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <httplib.h>
#include <nlohmann/json.hpp>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::duration;

/// A message as people write it: an error in about every tenth word, some of them in no table.
const std::string sample = "hi tom, thanks for your mesage. i think we should definately talk about the the "
                           "new schedual before friday, "
                           "becuase the custommer asked for a earlier delivery.I dont know wether its "
                           "possible, but ill ask Anneliese and let "
                           "you know tommorow. The desinger needs more infomation about the buliding too. "
                           "See https://example.org/plan for "
                           "the details , they are realy interesting. We could of started last week. ";

std::string textOf(size_t length)
{
    std::string text;
    while (text.size() < length) {
        text += sample;
    }
    text.resize(length);
    return text;
}

std::string bodyOf(size_t length)
{
    return nlohmann::json{{"text", textOf(length)}}.dump();
}

/// The service as a child process with a private state folder.
class Service final
{
public:
    explicit Service(const char* binary)
    {
        std::array<int, 2> output{};
        if (::mkdtemp(folder_.data()) == nullptr || ::pipe(output.data()) != 0) {
            throw std::runtime_error("cannot prepare the service");
        }
        std::ofstream(folder_ + "/service.ini") << "[quota]\nlimit = 1000000000\n";
        process_ = ::fork();
        if (process_ == 0) {
            ::dup2(output[1], STDOUT_FILENO);
            ::setenv("STATE_DIRECTORY", folder_.c_str(), 1);
            ::execl(binary, binary, "--config", (folder_ + "/service.ini").c_str(), "--port", "0",
                    static_cast<char*>(nullptr));
            ::_exit(127);
        }
        std::array<char, 200> line{};
        const ssize_t length = ::read(output[0], line.data(), line.size() - 1);
        const std::string said(line.data(), length > 0 ? static_cast<size_t>(length) : 0);
        if (said.find("127.0.0.1:") == std::string::npos) {
            throw std::runtime_error("the service does not start");
        }
        port_ = std::stoi(said.substr(said.rfind(':') + 1));
    }
    ~Service()
    {
        ::kill(process_, SIGTERM);
        ::waitpid(process_, nullptr, 0);
        std::system(("rm -rf " + folder_).c_str()); // NOLINT: a folder of our own
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    [[nodiscard]] int port() const { return port_; }
    /// A line of /proc/PID/status in kB.
    [[nodiscard]] long memory(const std::string& name) const
    {
        std::ifstream status("/proc/" + std::to_string(process_) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(name)) {
                return std::atol(line.c_str() + name.size() + 1);
            }
        }
        return 0;
    }

private:
    std::string folder_ = "/tmp/quillmarsh-bench-XXXXXX";
    pid_t process_ = -1;
    int port_ = 0;
};

/// Sends `body` over one kept-alive connection while `goOn`; returns the times in milliseconds.
template <typename GoOn>
std::vector<double> requests(int port, const std::string& body, int caller, GoOn goOn)
{
    httplib::Client client("127.0.0.1", port);
    client.set_keep_alive(true);
    client.set_tcp_nodelay(true);
    const std::string number = std::to_string(caller);
    const httplib::Headers headers{
        {"Authorization", "Bearer " + std::string(42 - number.size(), 'A') + number + "A"}};
    std::vector<double> times;
    while (goOn(times.size())) {
        const auto start = Clock::now();
        const auto result = client.Post("/api/rewrite", headers, body, "application/json");
        if (!result || result->status != 200) {
            throw std::runtime_error("a request failed");
        }
        times.push_back(duration<double, std::milli>(Clock::now() - start).count());
    }
    return times;
}

double quantile(std::vector<double> values, double q)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(q * static_cast<double>(values.size())))];
}

void latency(const Service& service, size_t length, size_t count)
{
    const auto times = requests(service.port(), bodyOf(length), 0, [&](size_t done) { return done < count; });
    const double median = quantile(times, 0.5);
    std::printf(
        "%6zu characters, one connection:  median %6.2f ms  p95 %6.2f ms  per 1000 characters %5.2f ms\n",
        length, median, quantile(times, 0.95), median * 1000 / static_cast<double>(length));
}

void load(const Service& service, size_t connections, std::chrono::seconds time)
{
    const std::string body = bodyOf(1024);
    const auto end = Clock::now() + time;
    std::vector<std::vector<double>> times(connections);
    std::vector<std::thread> clients;
    for (size_t n = 0; n < connections; ++n) {
        clients.emplace_back([&, n] {
            times[n] = requests(service.port(), body, static_cast<int>(n),
                                [&](size_t) { return Clock::now() < end; });
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    std::vector<double> all;
    for (const auto& some : times) {
        all.insert(all.end(), some.begin(), some.end());
    }
    std::printf("  1024 characters, %zu connections: %.0f requests per second, median %.1f ms, p95 %.1f ms\n",
                connections, static_cast<double>(all.size()) / duration<double>(time).count(),
                quantile(all, 0.5), quantile(all, 0.95));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: bench_Service BINARY\n", stderr);
        return 2;
    }
    try {
        const auto start = Clock::now();
        const Service service(argv[1]);
        std::printf("start to listening: %.0f ms\n",
                    duration<double, std::milli>(Clock::now() - start).count());
        std::printf("memory after start: %.1f MB\n", static_cast<double>(service.memory("VmRSS:")) / 1024);
        for (const size_t length : {500U, 1024U, 2000U, 10'000U}) {
            latency(service, length, 300);
        }
        load(service, 64, std::chrono::seconds(10));
        std::printf("memory after the load: %.1f MB (peak %.1f MB)\n",
                    static_cast<double>(service.memory("VmRSS:")) / 1024,
                    static_cast<double>(service.memory("VmHWM:")) / 1024);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
