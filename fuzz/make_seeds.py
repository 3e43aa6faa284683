#!/usr/bin/env python3
"""Writes the seed corpus of each fuzz target (fuzz/corpus/<target>/) in the
layout the targets read: the arguments at the front, each ended by a
backslash and a newline (a backslash inside one doubled), then the file
contents; the operation number and flag bytes at the end, last consumed
first."""
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))

SITE = """ServerRoot "/etc/httpd"
Listen 80
LoadModule php5_module modules/libphp5.so
Include conf.d/*.conf
NameVirtualHost 10.0.0.1:80

<VirtualHost 10.0.0.1:80>
\tServerName a.com
\tServerAdmin admin@a.com
\tDocumentRoot "/home/u/a.com/www/html"
\tServerAlias www.a.com
\tErrorLog /home/u/a.com/log/httpd/error_log
\tCustomLog /home/u/a.com/log/httpd/access_log combined
\t<IfModule mod_php5.c>
\t\tAddHandler application/x-httpd-php .php
\t</IfModule>
\t<Directory "/home/u/a.com">
\t\tAllowOverride All
\t\tAddHandler cgi-script cgi pl
\t</Directory>
\t<Directory "/home/u/a.com/www/html">
\t\tOptions +Indexes -ExecCGI
\t\tOrder Deny,Allow
\t\tAllow from "10.0.0.0/8"
\t\tDeny from "all"
\t\tAuthType Basic
\t</Directory>
\tAlias /shop "/home/u/a.com/shop"
</VirtualHost>
#<VirtualHost 10.0.0.1:80>
#\tServerName b.com
#\tDocumentRoot "/home/u/b.com/www/html"
#</VirtualHost>
<VirtualHost [2001:db8::1]:443>
\tServerName a.com
\tSSLEngine on
</VirtualHost>
"""

QZCONF = 'WebServerPort="8080"\nPHPHandler="dso"\nSUexecSetting="disabled"\n'
USERS = "ann:secret\nbob:x\n\n# a comment\n"
HTACCESS = 'AuthUserFile /site/.htpasswd\nAuthName "Restricted Area"\nAuthType Basic\nrequire valid-user\n'


def seed(args, contents, ints):
    """`ints`: the bytes taken from the end, in the order they are consumed."""
    front = b"".join(a.encode().replace(b"\\", b"\\\\") + b"\\\n" for a in args)
    return front + contents.encode() + bytes(reversed(ints))


def ops(count, build):
    return {f"op{op:02d}": build(op) for op in range(count)}


TARGETS = {
    # op, [flag bytes]; args: domain, other, QZ.conf, then per operation
    "website": ops(13, lambda op: seed(
        ["a.com", "xn--bcher-kva.example" if op != 8 else "shop.a.com", QZCONF]
        + {0: ["10.0.0.1", "u", "admin", "80"], 3: ["<VirtualHost *:80>\nServerName c.com\n</VirtualHost>\n"],
           8: ["<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n\tServerAlias www.a.com \n</VirtualHost>\n"],
           9: ["<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n\tServerAlias www.a.com \n</VirtualHost>\n"],
           11: ["server {\n  server_name a.com www.a.com;\n}\n", "site\n"]}.get(op, []),
        SITE, [op] + ({0: [1, ord("1")], 1: [ord("0")], 8: [1, 1], 9: [0, 1]}.get(op, [])))),
    # op, [quoted], [lineCount]; args: directive, value
    "server": ops(8, lambda op: seed(
        [["Listen", "ServerRoot", "Include", "LoadModule", "php5", "rewrite", "", ""][op],
         ["80", "/etc/httpd", "Include qz/*.conf", "", "", "", "", ""][op]],
        SITE, [op, 1 if op == 1 else 0] + ([2] if op == 2 else []))),
    # op, flag, list count; args: domain, directive, value, list...
    "vhost": ops(14, lambda op: seed(
        ["a.com", ["DocumentRoot", "Redirect", "", "ServerAlias", "ServerAdmin", "<Directory \"/home/u/a.com\">",
                   "mod_php5", "mod_php5", "10.0.0.2", "10.0.0.2", "10.0.0.1", "", "", ""][op],
         ["", "/old http://a.com/new", "", "", "admin@a.com", "Options -Indexes", "", "", "8080", "443", "80",
          "", "", ""][op],
         "SSLEngine on", "SSLCertificateFile /etc/ssl/a.pem"] + (["NameVirtualHost 10.0.0.2:443"] if op == 9 else []),
        SITE, [op, 1 if op in (0, 9) else 0, 2])),
    # op, list count; args: domain, path, new path, entries...
    "directory": ops(4, lambda op: seed(
        ["a.com", "/home/u/a.com/www/html", "/home/u/a.com/web", "Options -Indexes", "AllowOverride None"],
        SITE, [op, 2])),
    # op, Order, Options x5, AnonAccess, RubyOnRails, PerlEnabled, [AdminFlag];
    # args: domain, path, alias, allow, deny, name, password, /etc/passwd
    "vdir": ops(9, lambda op: seed(
        ["a.com", "/home/u/a.com/www/html" if op != 3 else "/home/u/a.com", "shop", "10.0.0.0/8", "all",
         "webadmin", "s3cret", "u:x:0:0::/home/u:/bin/sh\n"],
        SITE, [op, 1, ord("+"), ord("-"), 0, ord("+"), ord("+"), ord("1"), ord("0"), ord("1"), 0])),
    # op; args: domain, name, file
    "handlers": ops(14, lambda op: seed(
        ["a.com", ["mod_php5", "", "", "", "", "libphp5.so", "libphp5.so", "php5", "", "mod_fcgid", "enabled",
                   "mod_fcgid", "", ""][op], "/usr/bin/php-cgi" if op != 11 else ".setting_php/php-cgi"],
        SITE.replace("LoadModule", "LoadModule fcgid_module modules/mod_fcgid.so\nLoadModule", 1), [op])),
    # op, delimiter, comment, [folder]; args: name, value, other, domain
    "params": ops(12, lambda op: seed(
        ["ann", "secret", "new", "a.com"],
        HTACCESS if op >= 10 else USERS, [op, ord(":"), ord("#"), 1 if op == 5 else 0])),
    "qzconf": {name: seed([name], QZCONF + 'Long="' + "x" * 110 + '"\n', [])
               for name in ("WebServerPort", "PHPHandler", "Long")},
}


# Inputs that once did harm, replayed by scripts/fuzz.sh before fuzzing. A
# domain that is part of the scratch root's own path ("handlers" is the
# target's folder under scripts/fuzz.sh, "shm" and "tmp" the default base):
# EnableFcgid and DisableFcgid took the document root cut after it as the
# site folder, an ancestor of the root, and made and removed files there.
REGRESSIONS = {
    "handlers": {f"site_folder_outside_root_{name}_{domain}": seed(
        [domain, "", "/usr/bin/php-cgi" if op == 10 else "victim"],
        SITE.replace("a.com", domain), [op])
        for domain in ("handlers", "shm", "tmp", "qzfuzz-") for name, op in (("enable", 10), ("disable", 11))},
}


def main():
    for kind, table in (("corpus", TARGETS), ("regressions", REGRESSIONS)):
        for target, seeds in table.items():
            write(os.path.join(HERE, kind, target), seeds)
    return 0


def write(folder, seeds):
    os.makedirs(folder, exist_ok=True)
    for name, data in seeds.items():
        with open(os.path.join(folder, name), "wb") as out:
            out.write(data)


if __name__ == "__main__":
    sys.exit(main())
