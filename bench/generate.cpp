// qzbench-generate N FILE: writes an httpd configuration with N websites, the
// blocks as website creation writes them, plus virtual directories, aliases,
// PHP handler blocks, HTTPS blocks and stopped (commented-out) sites.
// qzbench-generate --target N: prints the domain the benchmark works on.
#include "SiteModel.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <vector>

namespace {

std::string address(long i, const char* port) {
    return "192.0.2." + std::to_string(1 + i % 250) + ":" + port;
}

std::vector<std::string> blockLines(const bench::Site& s, bool secure) {
    const std::string root = s.root(), domain = s.domain();
    std::vector<std::string> l;
    l.push_back("<VirtualHost " + address(s.index, secure ? "443" : "80") + ">");
    l.push_back("\tServerName " + domain);
    l.push_back("\tServerAdmin admin@" + domain);
    l.push_back("\tDocumentRoot \"" + root + "/www/html\"");
    l.push_back("\tServerAlias www." + domain + (s.index % 3 == 0 ? " shop." + domain : ""));
    l.push_back("\tErrorLog " + root + "/log/httpd/error_log");
    l.push_back("\tCustomLog " + root + "/log/httpd/access_log combined");
    if (s.phpModule()) {
        l.push_back("\t<IfModule mod_php5.c>");
        l.push_back("\t\tAddHandler application/x-httpd-php .php");
        l.push_back("\t</IfModule>");
    }
    if (secure) {
        l.push_back("\tSSLEngine on");
        l.push_back("\tSSLCertificateFile /etc/pki/tls/certs/" + domain + ".crt");
        l.push_back("\tSSLCertificateKeyFile /etc/pki/tls/private/" + domain + ".key");
    }
    l.push_back("\t<Directory \"" + root + "\">");
    l.push_back("\t\tAllowOverride All");
    l.push_back("\t</Directory>");
    l.push_back("\t<Directory \"" + root + "/www\">");
    l.push_back("\t</Directory>");
    if (s.scriptAlias()) l.push_back("\tScriptAlias /cgi-bin/ \"" + root + "/www/cgi-bin/\"");
    if (s.virtualDirectory()) {
        l.push_back("\tAlias /shop \"" + bench::virtualDirectoryPath(s) + "\"");
        l.push_back("\t<Directory \"" + bench::virtualDirectoryPath(s) + "\">");
        l.push_back("\t\tOrder Deny,Allow");
        l.push_back("\t\tAllow from \"All\"");
        l.push_back("\t\tOptions +Indexes -ExecCGI");
        l.push_back("\t\tAuthType Basic");
        l.push_back("\t\tAuthName \"Restricted Area\"");
        l.push_back("\t\tAuthUserFile " + root + "/webusers_" + domain + ".htpasswd");
        l.push_back("\t\trequire valid-user");
        l.push_back("\t</Directory>");
    }
    l.push_back("</VirtualHost>");
    return l;
}

void writeBlock(std::ostream& out, const bench::Site& s, bool secure) {
    out << '\n';
    for (const std::string& line : blockLines(s, secure)) out << (s.stopped() ? "#" : "") << line << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--target") {
        std::cout << bench::targetSite(std::atol(argv[2])).domain() << "\n";
        return 0;
    }
    if (argc != 3) {
        std::cerr << "usage: qzbench-generate SITES FILE | --target SITES\n";
        return 2;
    }
    const long sites = std::atol(argv[1]);
    std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
    out << "# Virtual hosts of the hosting panel\n"
        << "ServerRoot \"/etc/httpd\"\n"
        << "Listen 80\n"
        << "Listen 443\n"
        << "Include conf.d/*.conf\n";
    for (int a = 1; a <= 250; ++a) out << "NameVirtualHost 192.0.2." << a << ":80\n";
    for (long i = 0; i < sites; ++i) {
        const bench::Site s(i);
        writeBlock(out, s, false);
        if (s.secureBlock()) writeBlock(out, s, true);
    }
    out.close();
    return out ? 0 : 1;
}
