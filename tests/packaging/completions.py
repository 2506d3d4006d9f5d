"""Asks the completions of the three shells, each in its shell but without a terminal. A shell that is not there has no
answer: None."""

import re
import shutil
import subprocess

BASH = r"""
source "$1"; shift
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_TYPE=9
function=${1##*/}
"_${function//-/_}"
printf '%s\n' "${COMPREPLY[@]}"
"""

# Stands in for the helpers of zsh's completion system and prints what they are given.
ZSH = r"""
file=$1 wanted=$2
_arguments() {
    if [[ $1 == -C ]]; then
        line=($wanted) state=arguments
        return 1
    fi
    print -rl -- "$@"
}
_describe() { print -rl -- ${(P)4} }
source $file
[[ -n $wanted ]] || (( ! $+functions[_zunctl_commands] )) || _zunctl_commands
"""


def _lines(command, environment):
    ended = subprocess.run(command, env=environment, text=True, capture_output=True, timeout=60)
    if ended.returncode != 0 or ended.stderr:
        raise AssertionError(f"{command[0]} ended with {ended.returncode}: {ended.stderr}")
    return [line for line in ended.stdout.splitlines() if line]


def bash_answers(file, words, environment):
    return _lines(["bash", "--norc", "-c", BASH, "bash", str(file), *words], environment)


def fish_answers(file, line, environment):
    if not shutil.which("fish"):
        return None
    script = "source $argv[1]; complete -C $argv[2]"
    answers = _lines(["fish", "--no-config", "-c", script, str(file), line], environment)
    return [answer.split("\t")[0] for answer in answers]


def _zsh(file, command, environment):
    return _lines(["zsh", "-f", "-c", ZSH, "zsh", str(file), command], environment) if shutil.which("zsh") else None


def zsh_commands(file, environment):
    lines = _zsh(file, "", environment)
    return lines and [line.split(":")[0] for line in lines if re.match(r"[a-z]+:", line)]


def zsh_options(file, command, environment):
    lines = _zsh(file, command, environment)
    return lines and {option for line in lines for option in re.findall(r"(?:^|\))(--[\w-]+)", line)}
