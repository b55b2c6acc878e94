% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function source = field_by_program(caller, file, program)
  % source = field_by_program(caller, file, program): a file of pistonfield-run as that program
  % shows it: struct with the request, the points in the file, and read(first, count).
  program = find_program(caller, program);
  file = make_absolute_filename(tilde_expand(file));
  shown = run_program(caller, program, {'show', file});
  % What is in a table of a request file says where the elements of an array are, or of what shape
  % the piston is.
  shown = regexprep(shown, '\n\[(array|piston)\].*', '');
  % A list may go over several lines.
  lines = regexp(shown, '^(?:# )?(\w+) = (\[[^\]]*\]|.*)$', 'tokens', 'lineanchors', ...
                 'dotexceptnewline');
  for i = 1:numel(lines)
    found.(lines{i}{1}) = value_of(lines{i}{2});
  end
  if ~isfield(found, 'l')
    found.l = 0;
    found.s = 0;
  end
  found.transform = reshape(found.transform, 4, 4).';
  if isfield(found, 'table')
    found.table = reshape(found.table, 2, []).';
  end
  source.request = field_request(found);
  source.points = found.points;
  precision = precision_of(found.mode);
  components = components_of_request(source.request);
  source.array = @() array_by_program(caller, program, file);
  source.read = @(first, count) ...
    extract(caller, program, file, precision, components, found.first_point + first(:)' - 1, count);
end

function program = find_program(caller, given)
  require(ischar(given), caller, 'program', 'program must be the name of a file');
  project = fileparts(fileparts(fileparts(mfilename('fullpath'))));
  built = @(folder) fullfile(project, folder, 'run', 'pistonfield-run');
  beside = built('build-run');
  if exist(beside, 'file') ~= 2
    beside = built('build');
  end
  places = {given, getenv('PISTONFIELD_RUN'), ...
            file_in_path(getenv('PATH'), 'pistonfield-run'), beside};
  program = places{find(~cellfun(@isempty, places), 1)};
  require(exist(program, 'file') == 2, caller, 'program', ...
          ['there is no program %s; build pistonfield-run, or name it with its folder in the ', ...
           'option ''program'' or the environment variable PISTONFIELD_RUN'], program);
  program = make_absolute_filename(tilde_expand(program));
end

function printed = run_program(caller, program, arguments)
  words = cellfun(@quoted, [{program}, arguments], 'UniformOutput', false);
  [status, printed] = system([strjoin(words, ' '), ' 2>&1']);
  require(status == 0, caller, 'file', '%s', strtrim(printed));
end

% As one word for the shell, whatever is in it.
function word = quoted(text)
  word = ['"', regexprep(text, '(["$`\\])', '\\$1'), '"'];
end

function value = value_of(text)
  if text(1) == '"'
    value = text(2:end - 1);
  elseif any(strcmp(text, {'true', 'false'}))
    value = strcmp(text, 'true');
  else
    value = numbers_in(text);
  end
end

% The elements of an array with their weights, through a table that both programs know.
function [array, weights] = array_by_program(caller, program, file)
  table = tempname();
  cleaning = onCleanup(@() delete_if_there(table));
  text = run_program(caller, program, {'show', '--elements', file});
  write_text(caller, table, text);
  names = struct('elements', 'file');
  [array, weights] = array_of_table(ask_module(caller, names, 'array_of_table', table), ...
                                    ask_module(caller, names, 'outlines_of_table', table));
end

function numbers = numbers_in(text)
  numbers = sscanf(regexprep(text, '[\[\],]', ' '), '%f').';
end

function name = precision_of(mode)
  name = 'double';
  if is_single_mode(mode)
    name = 'single';
  end
end

% Of several components at each point a last dimension.
function p = extract(caller, program, file, precision, components, first, count)
  output = tempname();
  cleaning = onCleanup(@() delete_if_there(output));
  text = @(numbers) strsplit(sprintf('%d %d %d', numbers), ' ');
  run_program(caller, program, ...
              [{'extract', file, output, '--first'}, text(first), {'--size'}, text(count)]);
  id = fopen(output);
  pairs = fread(id, [2, Inf], [precision, '=>', precision]);
  fclose(id);
  require(size(pairs, 2) == components * prod(count), caller, 'file', ...
          'of %d points in %s there are %d', prod(count), file, size(pairs, 2) / components);
  p = permute(reshape(complex(pairs(1, :), pairs(2, :)), [components, count]), [2 3 4 1]);
end

function delete_if_there(file)
  if exist(file, 'file')
    delete(file);
  end
end
