// LAN-side services: one file each. Handlers return 0, or a negative number if they could not do
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

// syslogd.cc: the log daemon's settings.
int start_syslog();
int stop_syslog();
int create_syslog();

// printk.cc: kernel messages on the console. Both return the result of the kernel's call.
int start_printk();
int stop_printk();

// ntp.cc: the time client.
int start_ntp();
int stop_ntp();

// igmp.cc: the multicast proxy.
int start_igmp();
int stop_igmp();

// static_route.cc: the user's routes.
int start_static_route();
int stop_static_route();

// ripd.cc: the routing daemon.
int start_rip_daemon();
int stop_rip_daemon();
int create_rip_daemon_cfg();

// upnp.cc: the UPnP daemon and its multicast route.
int start_upnp();
int stop_upnp();

#endif
