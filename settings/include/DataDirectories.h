#pragma once
// The display's standard data directories under "/home/data/".

// Creates, in this order and with their parents, whichever of "/home/data/log_data/",
// "/home/data/objects/", "/home/data/cropsensor/", "/home/data/userlists/" and
// "/home/data/reference/" do not exist yet. Existing ones are left untouched; failures
// are not reported.
void EnsureDataDirectories();
