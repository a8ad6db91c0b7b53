// What each program of the tool begins with.
#pragma once

// Opens the standard streams that are closed. A closed one would be the next file or socket that is
// opened, and what is written to it would go there. One that cannot be used as meant makes each use
// fail.
void occupyStandardStreams();

// Characters and their widths are those of the user's locale. Names are UTF-8, and so are the
// terminals of those whose locale knows ASCII only.
void chooseCharacters();
