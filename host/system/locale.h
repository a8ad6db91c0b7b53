#pragma once

// Sets the user's locale for characters and their widths (LC_CTYPE). A locale that knows only ASCII
// is replaced by C.UTF-8, because channel names are UTF-8 and terminals show it.
void chooseCharacters();
