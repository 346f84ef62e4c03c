#include "tests/cli/runTarnel.h"

#include "tests/support/TemporaryFolder.h"
#include "tests/support/testData.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{
#if defined(_WIN32)
std::wstring toWide(const std::string& utf8)
{
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).native();
}

/// Quotes a word so that the program's start-up code gets it back unchanged; the tests' words end in no
/// backslash.
std::wstring quoted(const std::wstring& word)
{
    std::wstring result = L"\"";
    for (const wchar_t c : word)
    {
        result += c == L'"' ? std::wstring(L"\\\"") : std::wstring(1, c);
    }
    return result + L"\"";
}

std::filesystem::path programFolder()
{
    std::wstring name(32768, L'\0');
    name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return std::filesystem::path(name).parent_path();
}

HANDLE createInheritable(const std::filesystem::path& file)
{
    SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const HANDLE handle = CreateFileW(
        file.c_str(),
        GENERIC_WRITE,
        FILE_SHARE_READ,
        &attributes,
        CREATE_ALWAYS,
        FILE_ATTRIBUTE_NORMAL,
        nullptr
    );
    if (handle == INVALID_HANDLE_VALUE)
    {
        throw std::runtime_error("cannot create a file for the program's output");
    }
    return handle;
}

/// Runs a program with its output and errors going to files, and waits for it.
/// @return  its exit status
int runProgram(
    const std::vector<std::string>& arguments,
    const std::filesystem::path& output,
    const std::filesystem::path& errors
)
{
    const std::filesystem::path program = programFolder() / "tarnel.exe";
    std::wstring commandLine = quoted(program.native());
    for (const std::string& argument : arguments)
    {
        commandLine += L" " + quoted(toWide(argument));
    }

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = INVALID_HANDLE_VALUE;
    startup.hStdOutput = createInheritable(output);
    startup.hStdError = createInheritable(errors);
    PROCESS_INFORMATION process{};
    BOOL isStarted = FALSE;
    DWORD error = 0;
    for (int attempt = 0; attempt < 3 && isStarted == FALSE;
         ++attempt)  // Wine refuses about one start in 5000
    {
        isStarted = CreateProcessW(
            program.c_str(),
            commandLine.data(),
            nullptr,
            nullptr,
            TRUE,
            0,
            nullptr,
            nullptr,
            &startup,
            &process
        );
        error = GetLastError();
    }
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (isStarted == FALSE)
    {
        throw std::runtime_error("cannot start tarnel.exe: error " + std::to_string(error));
    }
    WaitForSingleObject(process.hProcess, INFINITE);  // the test's own time limit ends a hanging program
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(exitCode);
}
#else
std::filesystem::path programFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// Runs a program with its output and errors going to files, and waits for it.
/// @return  its exit status; 128 and the signal's number when one ended it
int runProgram(
    const std::vector<std::string>& arguments,
    const std::filesystem::path& output,
    const std::filesystem::path& errors
)
{
    std::vector<std::string> words{(programFolder() / "tarnel").string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
    {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), kCreate, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), kCreate, 0600);
    pid_t process = 0;
    const int started = posix_spawn(&process, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (started != 0)
    {
        throw std::runtime_error("cannot start tarnel: " + std::string(std::strerror(started)));
    }
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR
    )  // the test's own time limit ends a hanging program
    {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
#endif
}  // namespace

TarnelRun runTarnel(const std::vector<std::string>& arguments)
{
    const TemporaryFolder folder;
    const int exitCode = runProgram(arguments, folder.path() / "output", folder.path() / "errors");
    return {
        exitCode,
        TemporaryFolder::read(folder.path() / "output"),
        TemporaryFolder::read(folder.path() / "errors")};
}

std::string dataSet(const std::string& name)
{
    return text(testData() / name);
}

std::string text(const std::filesystem::path& path)
{
    const std::u8string utf8 = path.generic_u8string();
    return {utf8.begin(), utf8.end()};
}
