// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/tests/RunFixture.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void redirect(const char* path, int stream) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (file < 0 || dup2(file, stream) < 0) {
        _exit(126);
    }
}

template <class Resource>
void limitResource(Resource resource, std::uintmax_t size) {
    const rlimit limit{size, size};
    if (size > 0 && setrlimit(resource, &limit) != 0) {
        _exit(125);
    }
}

[[noreturn]] void becomeProgram(const fs::path& directory, const fs::path& out, const fs::path& err,
                                const std::vector<char*>& words) {
    redirect(out.c_str(), STDOUT_FILENO);
    redirect(err.c_str(), STDERR_FILENO);
    if (chdir(directory.c_str()) == 0) {
        execv(words.front(), words.data());
    }
    _exit(127);
}

} // namespace

RunFixture::RunFixture() {
    std::string name = (fs::temp_directory_path() / "selvane_run_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    m_directory = name;
    fs::create_directory(m_directory / "work");
    fs::create_directory(m_directory / "streams");
}

RunFixture::~RunFixture() {
    std::error_code ignored;
    fs::remove_all(m_directory, ignored);
}

RunResult RunFixture::run(const Arguments& arguments) const {
    Arguments words = {binaryPath()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    const fs::path out = m_report.empty() ? m_directory / "streams" / "out" : fs::path(m_report);
    const fs::path err = m_directory / "streams" / "err";

    const pid_t child = fork();
    if (child == 0) {
        limitResource(RLIMIT_FSIZE, m_largestFile);
        limitResource(RLIMIT_AS, m_addressSpace);
        becomeProgram(m_directory / "work", out, err, pointers);
    }
    int state = 0;
    if (child < 0 || waitpid(child, &state, 0) != child) {
        throw std::runtime_error("the program could not be run");
    }
    RunResult result;
    if (WIFEXITED(state)) {
        result.status = WEXITSTATUS(state);
    }
    if (WIFSIGNALED(state)) {
        result.signal = WTERMSIG(state);
    }
    result.out = m_report.empty() ? contentOf(out) : "";
    result.err = contentOf(err);
    return result;
}

RunResult RunFixture::fit(const Arguments& options) const {
    Arguments arguments = {"--ipdb", "model.pdb", "--iedm", "map.ccp4"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run(arguments);
}

void RunFixture::writeInputs() {
    const TestMap map;
    const std::vector<TestAtom> atoms = makeModel(map.centre() + Vec{1.3, -2.1, 0.7});
    writeInputs(atoms, simulate(map, atoms, map.largestVoxel()));
}

void RunFixture::writeInputs(const std::vector<TestAtom>& atoms, const TestMap& map) {
    m_model = atoms;
    m_map = map;
    write("model.pdb", pdbText(atoms));
    write("map.ccp4", ccp4Bytes(map));
}

void RunFixture::write(const std::string& name, const std::string& content) const {
    std::ofstream(m_directory / "work" / name, std::ios::binary) << content;
}

std::string RunFixture::read(const std::string& name) const {
    return contentOf(m_directory / "work" / name);
}

bool RunFixture::exists(const std::string& name) const {
    return fs::exists(m_directory / "work" / name);
}

std::set<std::string> RunFixture::entries(const std::string& directory) const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_directory / "work" / directory)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

std::string binaryPath() {
    return SELVANE_BINARY;
}

namespace {

Arguments joined(Arguments first, const Arguments& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace

Arguments quick(const Arguments& more) {
    return joined({"--nthread", "1", "--dangle", "180", "--nsolutions", "1"}, more);
}

Arguments coarse(const Arguments& more) {
    return joined({"--nthread", "1", "--dangle", "60", "--nsolutions", "5"}, more);
}

std::string besidesTheStep(const std::string& err) {
    std::string rest;
    for (const std::string& line : linesOf(err)) {
        if (!contains(line, " degrees is too coarse for a model ")) {
            rest += line + "\n";
        }
    }
    return rest;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}
