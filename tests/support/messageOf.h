#pragma once

#include <exception>
#include <string>

/// The text of the exception of type E that `action` throws; another text when it throws none.
template <class E, class Action>
std::string messageOf(Action&& action)
{
    try
    {
        action();
    }
    catch (const E& error)
    {
        return error.what();
    }
    return "(nothing was thrown)";
}
