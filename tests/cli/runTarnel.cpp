#include "tests/cli/runTarnel.h"

#include "tests/support/TemporaryFolder.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <filesystem>
#include <stdexcept>

namespace
{
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
}  // namespace

TarnelRun runTarnel(const std::vector<std::string>& arguments)
{
    const TemporaryFolder folder;
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
    startup.hStdOutput = createInheritable(folder.path() / "output");
    startup.hStdError = createInheritable(folder.path() / "errors");
    PROCESS_INFORMATION process{};
    const BOOL isStarted = CreateProcessW(
        program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process
    );
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (isStarted == FALSE)
    {
        throw std::runtime_error("cannot start tarnel.exe");
    }
    WaitForSingleObject(process.hProcess, INFINITE);  // the test's own time limit ends a hanging program
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return {
        static_cast<int>(exitCode),
        TemporaryFolder::read(folder.path() / "output"),
        TemporaryFolder::read(folder.path() / "errors")};
}

std::string dataSet(const std::string& name)
{
    return TARNEL_TEST_DATA "/" + name;
}

std::string text(const std::filesystem::path& path)
{
    const std::u8string utf8 = path.generic_u8string();
    return {utf8.begin(), utf8.end()};
}
