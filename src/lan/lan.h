// LAN-side services: one file each. Handlers return 0, or a negative number when they could not do
// their work.
#ifndef RC_LAN_LAN_H
#define RC_LAN_LAN_H

// lan.cc: MAC and IPv4 address of the LAN.
int start_lan();

// httpd.cc: the web server and its password file.
int start_httpd();
int stop_httpd();
int create_httpd_cfg();

// dhcpd.cc: the DHCP server, its configuration and its lease file.
int start_dhcp_server();
int stop_dhcp_server();
int create_dhcp_server_cfg();

#endif
