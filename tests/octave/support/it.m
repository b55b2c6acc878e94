% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

% it(sentence, body): runs one case, body, and reports it under the sentence that it proves.
function it(sentence, body)
  global failed_cases
  try
    body();
    printf('ok      %s\n', sentence);
  catch failure
    failed_cases = [failed_cases, {sentence}];
    printf('NOT OK  %s\n        %s\n', sentence, failure.message);
  end
end
