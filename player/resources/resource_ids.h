/* Identifiers of the resources, for the resource compiler and the player alike. */
#pragma once

#define IDM_PLAYER 101
#define IDI_PLAYER 102

/* Menu items. */
#define IDC_FILE_QUIT 40001
#define IDC_HELP_ABOUT 40003
