#!/bin/sh
# Makes a test authority and certificates for https servers: NAME.pem holds key and certificate.
#   certificates.sh FOLDER
# authority.pem signs good.pem (127.0.0.1, localhost), wrong-host.pem and expired.pem; self-signed.pem signs itself.
set -eu
cd "$1"
local_names=subjectAltName=IP:127.0.0.1,DNS:localhost

# certificate NAME SUBJECT [further options of openssl req]
certificate() {
  name=$1 subject=$2
  shift 2
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 30 -subj "/CN=$subject" \
    -keyout "$name.key" -out "$name.crt" "$@" 2>>openssl.log
  cat "$name.key" "$name.crt" >"$name.pem"
}

certificate authority "Test authority" -addext basicConstraints=critical,CA:TRUE -addext keyUsage=keyCertSign
signed() {
  certificate "$@" -CA authority.crt -CAkey authority.key -addext basicConstraints=CA:FALSE
}
signed good localhost -addext "$local_names"
signed wrong-host elsewhere.invalid -addext subjectAltName=DNS:elsewhere.invalid
certificate self-signed localhost -addext "$local_names"

# Only `openssl ca` can date a certificate back.
openssl req -new -key good.key -subj /CN=localhost -addext "$local_names" -out expired.csr
: >index
printf '[ca]\ndefault_ca=it\n[it]\ndatabase=index\nnew_certs_dir=.\nrand_serial=yes\ndefault_md=sha256\npolicy=any\ncopy_extensions=copy\n[any]\ncommonName=supplied\n' >ca.conf
openssl ca -config ca.conf -batch -notext -cert authority.crt -keyfile authority.key -startdate 20200101000000Z \
  -enddate 20200201000000Z -in expired.csr -out expired.crt 2>>openssl.log
cat good.key expired.crt >expired.pem
