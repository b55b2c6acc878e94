% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function answer = ask_module(caller, names, varargin)
  % answer = ask_module(caller, names, question, ...): the answer of the module to a question. What it
  % refuses is an error of the caller's; the struct names has the caller's name for what the module
  % calls otherwise.
  try
    answer = pistonfield_internal(varargin{:});
  catch failure
    reason = regexprep(failure.identifier, '.*:', '');
    said = regexp(failure.message, [reason, ': (.*)$'], 'tokens', 'once');
    if isempty(said)
      rethrow(failure);
    end
    if isfield(names, reason)
      reason = names.(reason);
    end
    % The caller's words have no directions in their names.
    text = regexprep(said{1}, '\<(pitch|kerf)[XY]\>', '$1');
    if ~isempty(strfind(text, ' lies behind ')) %#ok<STREMP>
      text = [text, behind_hint()];
    end
    require(false, caller, reason, '%s: %s', reason, text);
  end
end
