#!/usr/bin/env bash
# Every Android.bp of the tree must be in bpfmt's canonical form.
set -euo pipefail
cd "$1"
status=0
while IFS= read -r f; do
  diff=$(bpfmt -d "$f")
  if [ -n "$diff" ]; then echo "$f is not bpfmt-clean:"; echo "$diff"; status=1; fi
done < <(git ls-files --cached --others --exclude-standard -- '*Android.bp' 'Android.bp')
exit $status
