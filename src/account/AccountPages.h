#pragma once

#include <QString>

// What the account pane shows where the vendor sent no page.
namespace AccountPages
{
QString welcome(); // no account is stored yet
QString loginFailed();
} // namespace AccountPages
