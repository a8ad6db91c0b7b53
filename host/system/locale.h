#pragma once

// Chooses the user's locale for characters and their widths. Names are UTF-8, and so are the
// terminals of users whose locale knows ASCII only: these get C.UTF-8.
void chooseCharacters();
