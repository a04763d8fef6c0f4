#!/usr/bin/env bash
# Signs programs, libraries, installation packages and identity packages in place:
#
#   scripts/sign.sh FILE...
#
# Environment variables choose the certificate:
#
#   VESKARD_SIGN_CERTIFICATE    the code-signing certificate and its chain (PEM),
#                               or one file with the key too (.p12, .pfx)
#   VESKARD_SIGN_KEY            the private key (PEM); not with .p12 and .pfx
#   VESKARD_SIGN_PASSWORD_FILE  a file that holds the key's password, if it has one
#   VESKARD_SIGN_TIMESTAMP      the address of an RFC 3161 timestamp service; without
#                               one, signatures are valid only as long as the certificate
#
# An identity package (.msix) must be made for this certificate (installer/make_msix.py).
# A file that cannot be signed stays unchanged.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
refuse_options "$@"

description="Nimbrel Veskard Agent Explorer Extension"

[ $# -gt 0 ] || wrong_usage "expected arguments: FILE..."
certificate=${VESKARD_SIGN_CERTIFICATE:-}
[ -n "$certificate" ] || die "VESKARD_SIGN_CERTIFICATE names no certificate to sign with"
for file in "$certificate" "$@"; do
  [ -f "$file" ] || die "$file does not exist"
done

case "$certificate" in
  *.p12 | *.pfx) options=(-pkcs12 "$certificate") ;;
  *)
    [ -n "${VESKARD_SIGN_KEY:-}" ] || die "VESKARD_SIGN_KEY names no private key for $certificate"
    options=(-certs "$certificate" -key "$VESKARD_SIGN_KEY")
    ;;
esac
options+=(-h sha256 -n "$description")
[ -z "${VESKARD_SIGN_PASSWORD_FILE:-}" ] || options+=(-readpass "$VESKARD_SIGN_PASSWORD_FILE")
[ -z "${VESKARD_SIGN_TIMESTAMP:-}" ] || options+=(-ts "$VESKARD_SIGN_TIMESTAMP")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for file in "$@"; do
  signed="$work/signed"
  rm -f "$signed"
  case "$file" in
    # Covers the names and times inside the package too, not its streams alone.
    *.msi) kind=(-add-msi-dse) ;;
    *.msix)
      kind=()
      python3 -B "$root/installer/publisher.py" "$file" || die "$file could not be signed"
      ;;
    *) kind=() ;;
  esac
  if ! osslsigncode sign "${options[@]}" "${kind[@]}" -in "$file" -out "$signed" >"$work/output" 2>&1; then
    cat "$work/output" >&2
    die "$file could not be signed"
  fi
  cp "$signed" "$file.part"
  chmod --reference="$file" "$file.part"
  mv "$file.part" "$file"
done
